#pragma once

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

/// A model with a list, and the folder `root` that it is about.
class Audit : public ModelTest {
 protected:
  [[nodiscard]] AuditFlow& audit() { return *model_->audit(); }

  /// What came of a list with these names, whose files all hold "abc", in the file `list` below the test's folder.
  std::string audited(const std::vector<std::string>& names, const std::string& list = "root/list.sfv") {
    std::string lines;
    for (const std::string& name : names) lines += name + " 352441c2\n";
    ManifestFlow& manifest = *model_->manifest();
    manifest.setManifestRoot({urlOf(root_)});
    manifest.setManifestFile({urlOf(folder_.file(list, lines))});
    EXPECT_TRUE(reached([&] { return !manifest.isLoadingManifest(); }));
    return verified();
  }
  std::string verified() {
    model_->manifest()->verifyManifest();
    EXPECT_TRUE(reached([&] { return !model_->manifest()->isManifestVerifying() && !audit().isLooking(); }));
    return audit().sentence().toStdString();
  }

  /// What is said of the entry, or the unlisted file, with this path.
  std::string note(const std::string& path) {
    const FilteredListModel* const models[]{model_->manifest()->manifestJobs(), audit().unlisted()};
    const int roles[]{ManifestJobListModel::NoteRole, UnlistedModel::NoteRole};
    for (int which = 0; which < 2; ++which) {
      for (int row = 0; row < models[which]->count(); ++row) {
        const QModelIndex index = models[which]->index(row);
        QString text = index.data(roles[which]).toString().remove(u'\u2068').remove(u'\u2069');
        if (index.data().toString().toStdString() == path && !text.isEmpty()) return text.toStdString();
      }
    }
    return {};
  }
  std::string searched() {
    audit().findMoved();
    EXPECT_TRUE(reached([&] { return !audit().isSearching(); }));
    return audit().sentence().toStdString();
  }

  /// What an export of the verification says, as text.
  std::string kept() {
    ManifestExport& report = *model_->manifest()->manifestExport();
    report.save(ManifestExport::Text);
    desktop_.confirmSavePanel(urlOf(folder_.path() / "report"));
    EXPECT_TRUE(reached([&] { return !report.isSaving(); }));
    return contentOf(folder_.path() / "report");
  }

  const fs::path root_ = folder_.path() / "root";
};

}  // namespace tallyfold::test

// Making a checksum list of the folder that is Manifest's root.

#include <cmath>

#include "core/base/Errors.h"
#include "tests/app/ModelTest.h"
#include "tests/support/Process.h"

namespace tallyfold::test {

namespace {

class ListCreation : public ModelTest {
 protected:
  void SetUp() override {
    fs::create_directories(root_ / "dir");
    for (const char* const name : {"root/a", "root/.b\\", "root/dir/c"}) folder_.file(name, name);
    model_->manifest()->setManifestRoot({urlOf(root_)});
  }

  [[nodiscard]] ListCreationFlow& creation() { return *model_->listCreation(); }

  /// What came of it: title and details of the verdict.
  std::string made() {
    creation().create();
    EXPECT_TRUE(reached([&] { return !creation().isBusy() && creation().createRefusal().isEmpty(); }));
    return verdict();
  }
  [[nodiscard]] std::string verdict() {
    const ListCreationVerdict verdict = creation().verdict();
    return (verdict.title + u'|' + verdict.details).toStdString();
  }
  void saveAs(const fs::path& list) {
    creation().save();
    ASSERT_TRUE(desktop_.savePanel);
    desktop_.confirmSavePanel(urlOf(list));
    ASSERT_TRUE(reached([&] { return !creation().isBusy() && !model_->manifest()->isLoadingManifest(); }));
  }
  [[nodiscard]] std::size_t entries() { return model_->manifest()->manifestJobs()->jobs().size(); }

  const fs::path root_ = folder_.path() / "root";
};

TEST_F(ListCreation, ListIsMadeSavedOpenedAndNeverListsItself) {
  fs::create_symlink("a", root_ / "link");
  EXPECT_EQ(made(), "3 files, not saved yet|1 link was not followed.");
  EXPECT_EQ(creation().verdict().tone, Tone::Pending) << "It is not saved yet";
  saveAs(root_ / "any name");
  EXPECT_EQ(desktop_.proposedName.toStdString(), (root_ / "SHA256SUMS").native());
  EXPECT_EQ(entries(), 3U);
  EXPECT_EQ(model_->manifest()->manifestAlgorithm(), "SHA-256");
  outputOf({"sh", "-c", "cd '" + root_.native() + "' && sha256sum --check --strict --quiet 'any name' >&2"});
  model_->manifest()->verifyManifest();
  ASSERT_TRUE(reached([&] { return !model_->manifest()->isManifestVerifying(); }));
  EXPECT_EQ(model_->manifest()->manifestMatchedCount(), 3);

  EXPECT_THAT(made(), testing::StartsWith("4 files, "));
  saveAs(root_ / "dir/../any name");
  EXPECT_EQ(entries(), 3U);

  for (const char* const name : {"SHA-256", "CRC-32"})
    creation().setAlgorithmSelected(QLatin1String(name), name[0] == 'C');
  EXPECT_THAT(made(), testing::StartsWith("4 files, "));
  saveAs(folder_.path() / "elsewhere");
  EXPECT_EQ(entries(), 4U);
  EXPECT_EQ(desktop_.proposedName.toStdString(), (root_ / "checksums.sfv").native());

  folder_.file("root/SUMS", "");
  fs::create_hard_link(root_ / "SUMS", root_ / "sums");  // As where names are taken in any case.
  EXPECT_THAT(made(), testing::StartsWith("6 files, "));
  saveAs(root_ / "SUMS");
  EXPECT_EQ(entries(), 4U);
}

TEST_F(ListCreation, WhatAListCannotHoldIsRefusedBeforeAnythingIsRead) {
  const auto choose = [&](const QStringList& algorithms) {
    for (const QString& name : AppViewModel::algorithmNames()) {
      creation().setAlgorithmSelected(name, algorithms.contains(name));
    }
  };
  calls_.before = [](std::string_view name, std::size_t) {
    EXPECT_NE(name, "read");
    return 0;
  };
  choose({});
  EXPECT_EQ(creation().createRefusal(), "Select at least one algorithm.");
  choose({QStringLiteral("CRC-32")});
  folder_.file("root/ends with a blank ", "");
  EXPECT_EQ(made(),
            "No list was made|The name of 1 file cannot be written in this form: “\u2068ends with a blank \u2069”.");
  fs::remove(root_ / "ends with a blank ");
  choose({QStringLiteral("MD5"), QStringLiteral("CRC-32")});
  EXPECT_EQ(made(), "No list was made|The name of 1 file cannot be written in this form: “\u2068.b\\\u2069”.");
  fs::remove(root_ / ".b\\");
  folder_.file("root/\xFF", "");
  folder_.file("root/1st \xFE", "");
  choose({QStringLiteral("MD5"), QStringLiteral("CRC-32")});
  EXPECT_EQ(made(),
            "No list was made|The names of 2 files are not UTF-8, as lists are, the first: “\u20681st \uFFFD\u2069”.");
  const fs::path many = folder_.path() / "many";
  fs::create_directories(many);
  for (int i = 0; i <= 12'500; ++i) folder_.file("many/" + std::to_string(i), "");
  model_->manifest()->setManifestRoot({urlOf(many)});
  choose(AppViewModel::algorithmNames());
  EXPECT_THAT(made(), testing::HasSubstr("There are too many files: "));
  fs::remove(many / "0");
  calls_.before = [](auto...) { return 0; };
  EXPECT_THAT(made(), testing::StartsWith("12,500 files, "));
  fs::remove_all(many);
  EXPECT_THAT(made(), testing::StartsWith("No list was made|"));
  fs::create_directories(many);
  EXPECT_EQ(made(), "No list was made|There are no files below this folder.");
  folder_.file("many/list", "");
  EXPECT_THAT(made(), testing::StartsWith("1 file, "));
  saveAs(many / "list");
  EXPECT_EQ(model_->errorMessage(), "There is no file but the list itself.");
}

TEST_F(ListCreation, WhatCouldNotBeReadIsSaidAndNotListed) {
  int reads = 0;
  calls_.before = [&](std::string_view name, std::size_t) { return name == "read" && ++reads == 1 ? EIO : 0; };
  EXPECT_EQ(made(), "1 of 3 files could not be read and is not listed|");
  EXPECT_EQ(creation().verdict().tone, Tone::Caution);
  ASSERT_EQ(creation().failures()->count(), 1);
  EXPECT_EQ(creation().failures()->index(0).data(ListFailures::Path).toString(), ".b\\");
  EXPECT_EQ(creation().failures()->index(0).data(ListFailures::Message).toString(), "Input/output error");
  saveAs(root_ / "SHA256SUMS");
  EXPECT_EQ(entries(), 2U);
  calls_.before = [&](std::string_view name, std::size_t) {
    if (name == "read" && !fs::exists(folder_.path() / "aside")) {
      fs::rename(root_ / ".b\\", folder_.path() / "aside");
      fs::copy(folder_.path() / "aside", root_ / ".b\\");
    }
    return 0;
  };
  EXPECT_THAT(made(), testing::StartsWith("1 of 4 files"));
  EXPECT_EQ(creation().failures()->index(0).data(ListFailures::Message).toString(),
            HashServiceError(HashServiceError::Case::fileChangedDuringRead).what());
}

TEST_F(ListCreation, BarShowsBytes) {
  folder_.file("root/dir/c", std::string(1 << 20, 'c'));
  holdAt("read", 5);
  creation().create();
  ASSERT_TRUE(gate_.waitForArrival());
  ASSERT_TRUE(reached([&] { return creation().progressFigure() == "2 of 3 files"; }));
  // Two of eight pieces of the last file.
  EXPECT_TRUE(reached([&] { return std::abs(creation().progress() - 0.25) < 0.01; })) << creation().progress();
  QString told = "2 of 3 files";
  QObject::connect(&creation(), &ListCreationFlow::progressChanged, &creation(),
                   [&] { told = creation().progressFigure(); });
  goOn();
  ASSERT_TRUE(reached([&] { return !creation().isWorking(); }));
  EXPECT_EQ(told, QString());
}

TEST_F(ListCreation, WhatIsMadeIsKeptUntilItIsSaved) {
  creation().setOpen(true);
  holdAt("read", 2);
  creation().create();
  ASSERT_TRUE(gate_.waitForArrival());
  model_->openFiles({urlOf(root_ / "list.md5"), QUrl(urlOf(root_ / "dir").toString() + u'/')}, {}, {});
  EXPECT_EQ(model_->errorMessage(), "A checksum list is being created. Close that first, then open the file again.");
  EXPECT_FALSE(model_->manifest()->manifestURL());
  model_->manifest()->setManifestRoot({urlOf(root_ / "dir")});
  goOn();
  EXPECT_EQ(verdict(), "3 files, not saved yet|");

  model_->manifest()->setManifestFile({urlOf(folder_.file("other", ""))});
  ASSERT_TRUE(reached([&] { return !model_->manifest()->isLoadingManifest(); }));
  gate_.close();
  holdAt("unlinkat", 1);  // Behind the list's own renaming.
  creation().save();
  desktop_.confirmSavePanel(urlOf(root_ / "list"));
  ASSERT_TRUE(gate_.waitForArrival());
  creation().cancel();
  EXPECT_TRUE(model_->isSaving());
  EXPECT_EQ(verdict(), "Saving…|");
  gate_.open();
  EXPECT_TRUE(reached([&] { return entries() == 3; })) << "It is saved, and opened in the place of the other";
  EXPECT_EQ(model_->manifest()->manifestRootURL(), root_);
  EXPECT_FALSE(model_->isSaving());
  model_->manifest()->setManifestRoot({urlOf(root_ / "dir")});
  EXPECT_EQ(verdict(), "3 files, not saved yet|");
  creation().setOpen(false);
  EXPECT_EQ(creation().folder().toStdString(), (root_ / "dir").native());
  EXPECT_EQ(verdict(), "|");

  creation().setOpen(true);
  EXPECT_EQ(made(), "1 file, not saved yet|");
  for (const bool isOpen : {false, true}) creation().setOpen(isOpen);
  EXPECT_THAT(verdict(),
              testing::MatchesRegex("1 file, not saved yet\\|Its calculation began at .+: what changed since .+"))
      << "It was closed by mistake";
  creation().setOpen(false);
  model_->manifest()->clearManifest();
  model_->manifest()->undoClear();
  EXPECT_THAT(verdict(), testing::StartsWith("1 file, not saved yet|")) << "It is of this folder still";
  creation().setOpen(true);
  saveAs(root_ / "dir/list");
  creation().setOpen(false);
  EXPECT_EQ(verdict(), "|");
}

TEST_F(ListCreation, FolderThatTookThePlaceOfAnotherGetsNoListOfThat) {
  holdAt("read", 2);
  creation().create();
  ASSERT_TRUE(gate_.waitForArrival());
  fs::rename(root_, folder_.path() / "moved");
  fs::create_directory(root_);
  goOn();
  EXPECT_EQ(verdict(), "No list was made|The folder was replaced while its files were read.");

  folder_.file("root/a", "abc");
  EXPECT_EQ(made(), "1 file, not saved yet|");
  fs::rename(root_, folder_.path() / "moved too");
  fs::create_directory(root_);
  creation().save();
  desktop_.confirmSavePanel(urlOf(folder_.path() / "list"));
  ASSERT_TRUE(reached([&] { return !model_->isSaving(); }));
  EXPECT_EQ(model_->errorMessage(), "The folder was replaced after its files were read.");
}

TEST_F(ListCreation, NothingIsLeftOfWhatWasCancelled) {
  holdAt("read", 2);
  creation().create();
  ASSERT_TRUE(gate_.waitForArrival());
  creation().cancel();
  goOn();
  EXPECT_EQ(verdict(), "Cancelled|Nothing was saved.");
  EXPECT_EQ(creation().saveRefusal(), "Calculate the checksums first.");
  holdAt("read", 2);
  gate_.close();
  creation().create();
  ASSERT_TRUE(gate_.waitForArrival());
  model_->manifest()->setManifestRoot({urlOf(root_ / "dir")});
  goOn();
  EXPECT_EQ(verdict(), "|") << "Another folder";
}

}  // namespace
}  // namespace tallyfold::test

#include "app/ShownRows.h"

namespace tallyfold {

ShownRows::ShownRows(ManifestFlow& manifest, AuditFlow& audit) : manifest_(manifest), audit_(audit) {
  connect(&manifest, &ManifestFlow::manifestShownChanged, this, &ShownRows::changed);
  connect(&audit, &AuditFlow::shownChanged, this, &ShownRows::changed);
}

ShownRows::Kind ShownRows::kind() const {
  if (audit_.isShown()) return Unlisted;
  return manifest_.showsWarnings() ? Warnings : Entries;
}

void ShownRows::setKind(Kind kind) {
  manifest_.setShowsWarnings(kind == Warnings);
  audit_.setShown(kind == Unlisted);
}

FilteredListModel* ShownRows::rows() const {
  if (kind() == Unlisted) return audit_.unlisted();
  return manifest_.manifestJobs();
}

bool ShownRows::isPending() const {
  return manifest_.isLoadingManifest() || (kind() == Unlisted && audit_.isLooking());
}

QString ShownRows::emptySentence() const {
  return kind() == Unlisted ? audit_.emptySentence() : manifest_.manifestEmptySentence();
}

QString ShownRows::copyRefusal() const {
  return kind() == Unlisted ? audit_.copyRefusal() : manifest_.copyManifestRefusal();
}

void ShownRows::copySelected(int row) {
  const bool hasMarks = rows()->markedCount() > 0;
  if (kind() == Unlisted) return hasMarks ? audit_.copyMarked() : audit_.copyRow(row);
  return hasMarks ? manifest_.copyMarked() : manifest_.copyManifestRow(row);
}

void ShownRows::copyAll() {
  if (kind() == Unlisted) return audit_.copyShown();
  return manifest_.copyManifestShown();
}

}  // namespace tallyfold

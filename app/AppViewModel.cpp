#include "app/AppViewModel.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "app/shared/AlgorithmNames.h"
#include "app/shared/FileLocation.h"
#include "app/shared/Formats.h"
#include "checksums/lines/ChecksumLines.h"

namespace tallyfold {

namespace {

QList<QUrl> filesAmong(const QList<QUrl>& urls) {
  QList<QUrl> files;
  std::ranges::remove_copy_if(urls, std::back_inserter(files), [](const QUrl& url) { return isDirectoryPath(url); });
  return files;
}

}  // namespace

QList<ModeRow> AppViewModel::modes() {
  QList<ModeRow> rows;
  for (const AppMode::Case mode : AppMode::allCases()) {
    rows.append({.mode = mode, .label = AppMode::rawValue(mode), .flow = &flow(mode)});
  }
  return rows;
}

AppViewModel::AppViewModel(Desktop& desktop, QObject* parent) : ModeFlows(desktop, parent) {
  connect(&context(), &FlowContext::errorMessageChanged, this, &AppViewModel::errorMessageChanged);
  connect(&context(), &FlowContext::selectedAlgorithmsChanged, this, &AppViewModel::selectedAlgorithmsChanged);
  connect(&context(), &FlowContext::selectionRefusalChanged, this, &AppViewModel::selectionRefusalChanged);
  for (const AppMode::Case mode : AppMode::allCases()) followEnds(flow(mode), mode);
  followEnds(audit_, AppMode::Manifest);
  // A list that is being made is made to its end, whatever else comes.
  const auto passRootOn = [this] {
    const auto& root = manifest()->manifestRootURL();
    // A folder that was cleared may come back.
    const bool isGone = !root && manifest()->clearedSentence().isEmpty();
    if ((root || isGone) && !listCreation_.isOpen()) listCreation_.setFolder(root);
  };
  connect(manifest(), &ManifestFlow::clearedSentenceChanged, this, passRootOn);
  connect(manifest(), &ManifestFlow::manifestURLsChanged, this, passRootOn);
  connect(&listCreation_, &ListCreationFlow::isOpenChanged, this, passRootOn);
  connect(&listCreation_, &ListCreationFlow::saved, manifest(),
          [this](const auto& list, const auto& folder, auto algorithm) {
            manifest()->cancelManifest();
            if (manifest()->manifestRootURL() != folder) manifest()->setManifestRoot({fileUrl(folder)});
            manifest()->openManifest(list, algorithm, true);
          });
  connect(manifest(), &ManifestFlow::verified, &audit_, [this] { audit_.look(manifest()->verifiedList()); });
  connect(manifest(), &ManifestFlow::forgotten, &audit_, &AuditFlow::forget);
  connect(&audit_, &AuditFlow::changed, manifest(), [this] {
    manifest()->setFolderSentence(audit_.sentence());
    manifest()->setFolderRefusal(audit_.searchRefusal());
  });
  manifest()->setNext(audit_);
  manifest()->setUnlistedReport([this] { return audit_.report(); });
  manifest()->setFolderKeeper([this] { return audit_.keep(); });
  manifest()->manifestJobs()->setNotes(
      [this](std::size_t entry) { return audit_.isPresent() ? audit_.notes().ofEntry(entry) : QString(); });
  connect(&audit_, &AuditFlow::notesChanged, manifest(), [this] { manifest()->manifestJobs()->announceNotes(); });
  connect(&listCreation_, &Flow::ended, this, [this] {
    context().desktop().announceEnd(AppMode::rawValue(AppMode::Manifest), listCreation_.outcomeSentence());
  });
}

AppViewModel::~AppViewModel() {
  shutdown();
  context().mailbox()->close();
}

void AppViewModel::followEnds(Flow& flow, AppMode::Case mode) {
  connect(&flow, &Flow::ended, this, [this, &flow, mode](Outcome::Case outcome) {
    if (mode != mode_) this->flow(mode).setUnseenOutcome(outcome);
    context().desktop().announceEnd(AppMode::rawValue(mode), flow.outcomeSentence());
  });
}

void AppViewModel::setMode(AppMode::Case mode) {
  if (std::exchange(mode_, mode) != mode) emit modeChanged();
  flow(mode).setUnseenOutcome(Outcome::NoOutcome);
}

void AppViewModel::stepMode(int by) {
  constexpr auto modes = AppMode::allCases();
  const auto place = std::ranges::find(modes, mode_) - modes.begin() + by;
  setMode(modes.begin()[std::clamp<std::ptrdiff_t>(place, 0, std::ssize(modes) - 1)]);
}

QStringList AppViewModel::algorithmNames() { return displayNames(HashAlgorithmSet::all()); }

QStringList AppViewModel::selectedAlgorithmNames() const { return displayNames(selectedAlgorithms()); }

void AppViewModel::setAlgorithmSelected(const QString& name, bool isSelected) {
  const auto algorithm = algorithmNamed(name);
  if (!algorithm) return;
  HashAlgorithmSet algorithms = selectedAlgorithms();
  if (isSelected) {
    algorithms.insert(*algorithm);
  } else {
    algorithms.erase(*algorithm);
  }
  setSelectedAlgorithms(algorithms);
}

void AppViewModel::choosePreset(Preset preset) {
  switch (preset) {
    case Recommended:
      return setSelectedAlgorithms(HashAlgorithm::recommended);
    case Compatibility:
      return setSelectedAlgorithms(HashAlgorithm::compatibility);
    case AllAlgorithms:
      return setSelectedAlgorithms(HashAlgorithmSet::all());
  }
}

std::optional<QUrl> AppViewModel::listAmong(const QList<QUrl>& urls) {
  const QList<QUrl> files = filesAmong(urls);
  const auto path = files.size() == 1 && urls.size() <= 2 ? fileLocation(files.constFirst()) : std::nullopt;
  return path && ChecksumManifestService::isListName(*path) ? std::optional(files.constFirst()) : std::nullopt;
}

void AppViewModel::openFiles(const QList<QUrl>& urls, const QList<QUrl>& others,
                             const std::optional<std::filesystem::path>& listBefore) {
  const QList<QUrl> opened = filesAmong(urls);
  if (opened.isEmpty()) return;
  const bool isList = listAmong(urls).has_value();
  QString refusal;
  if (listCreation_.isOpen()) {
    refusal = tr("A checksum list is being created. Close that first, then open the file again.");
  } else {
    setMode(isList ? AppMode::Manifest : AppMode::Files);
    refusal = isList ? manifest()->manifestFileRefusal() : files()->queueRefusal();
    if (isList && manifest()->manifestURL() && listBefore != manifest()->manifestURL()) {
      refusal = tr("Another checksum list was opened meanwhile. Open the file again to read it.");
    }
  }
  if (!refusal.isEmpty()) {
    const QString first = displayText(fileLocation(opened.constFirst())->filename());
    const qsizetype more = opened.size() + others.size() - 1;
    return context().setErrorMessage(refusal, more == 0 ? first : tr("%1 and %2 more").arg(first, figureOf(more)));
  }
  if (isList) {
    manifest()->dropManifest(urls + others);
  } else {
    files()->receiveDroppedFiles(opened);
  }
}

void AppViewModel::shutdown() {
  for (const AppMode::Case mode : AppMode::allCases()) flow(mode).shutdown();
  listCreation_.shutdown();
  audit_.shutdown();
  context().abandonCopy();
}

}  // namespace tallyfold

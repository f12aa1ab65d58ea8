#include "app/AppViewModel.h"

#include <utility>

#include <QVariantMap>

namespace tallyfold {

namespace {

QStringList names(HashAlgorithmSet algorithms) {
  QStringList list;
  for (const HashAlgorithm algorithm : algorithms) {
    const std::string_view name = algorithm.rawValue();
    list.append(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
  }
  return list;
}

}  // namespace

QVariantList AppViewModel::modes() {
  QVariantList list;
  for (const AppMode::Case mode : AppMode::allCases()) {
    list.append(QVariantMap{{QStringLiteral("mode"), mode},
                            {QStringLiteral("label"), AppMode::rawValue(mode)},
                            {QStringLiteral("icon"), AppMode::iconName(mode)}});
  }
  return list;
}

QStringList AppViewModel::algorithmNames() { return names(HashAlgorithmSet::all()); }

AppViewModel::AppViewModel(Desktop& desktop, QObject* parent) : QObject(parent), desktop_(desktop) {
  connect(&jobs_, &FileJobListModel::countChanged, this, &AppViewModel::refusalsChanged);
  connect(this, &AppViewModel::selectedAlgorithmsChanged, this, &AppViewModel::refusalsChanged);
  connect(this, &AppViewModel::resultsChanged, this, &AppViewModel::refusalsChanged);
  connect(this, &AppViewModel::isProcessingChanged, this, &AppViewModel::refusalsChanged);
  connect(this, &AppViewModel::isExportingChanged, this, &AppViewModel::refusalsChanged);
  connect(this, &AppViewModel::selectedAlgorithmsChanged, this, &AppViewModel::updateTextHash);
  for (const auto change : {&AppViewModel::isProcessingChanged, &AppViewModel::isExportingChanged,
                            &AppViewModel::isVerifyingChanged, &AppViewModel::isComparingChanged,
                            &AppViewModel::isLoadingManifestChanged, &AppViewModel::isManifestVerifyingChanged}) {
    connect(this, change, this, &AppViewModel::busyModesChanged);
  }
  for (const auto change : {&AppViewModel::expectedHashChanged, &AppViewModel::verifyAlgorithmChanged}) {
    connect(this, change, this, &AppViewModel::recognisedAlgorithmChanged);
  }
  for (const auto change : {&AppViewModel::manifestURLsChanged, &AppViewModel::manifestLinesChanged,
                            &AppViewModel::isLoadingManifestChanged, &AppViewModel::isManifestVerifyingChanged}) {
    connect(this, change, this, &AppViewModel::manifestStatusChanged);
  }
  connect(&manifestJobs_, &ManifestJobListModel::countsChanged, this, &AppViewModel::manifestStatusChanged);
  textRest_.setSingleShot(true);
  textRest_.setTimerType(Qt::PreciseTimer);
  textRest_.setInterval(120);
  connect(&textRest_, &QTimer::timeout, this, &AppViewModel::startTextHash);
}

AppViewModel::~AppViewModel() {
  shutdown();
  self_->reset();
}

void AppViewModel::setMode(AppMode::Case mode) {
  if (std::exchange(mode_, mode) != mode) emit modeChanged();
  setUnseenOutcome(mode, NoOutcome);
}

QStringList AppViewModel::selectedAlgorithmNames() const { return names(selectedAlgorithms_); }

void AppViewModel::setSelectedAlgorithms(HashAlgorithmSet algorithms) {
  if (isProcessing_ || algorithms == selectedAlgorithms_) return;
  selectedAlgorithms_ = algorithms;
  emit selectedAlgorithmsChanged();
}

void AppViewModel::setAlgorithmSelected(const QString& name, bool isSelected) {
  const auto algorithm = HashAlgorithm::init(name.toStdString());
  if (!algorithm) return;
  HashAlgorithmSet algorithms = selectedAlgorithms_;
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

void AppViewModel::setErrorMessage(const QString& message) {
  if (errorMessage_ == message) return;
  errorMessage_ = message;
  emit errorMessageChanged();
}

QVariantList AppViewModel::unseenOutcomes() const {
  QVariantList list;
  for (const Outcome outcome : unseenOutcomes_) list.append(outcome);
  return list;
}

void AppViewModel::setUnseenOutcome(AppMode::Case mode, Outcome outcome) {
  const Outcome unseen = mode == mode_ ? NoOutcome : outcome;
  if (std::exchange(unseenOutcomes_.at(mode), unseen) != unseen) emit unseenOutcomesChanged();
}

QVariantList AppViewModel::busyModes() const {
  QVariantList list;
  for (const AppMode::Case mode : AppMode::allCases()) {
    list.append((mode == AppMode::Files && (isProcessing_ || isExporting_)) ||
                (mode == AppMode::Verify && verify_.isRunning) || (mode == AppMode::Compare && compare_.isRunning) ||
                (mode == AppMode::Manifest && (manifest_.isLoading || manifest_.isVerifying)));
  }
  return list;
}

void AppViewModel::shutdown() {
  received_.clear();
  receivingTask_.abandon();
  cancelProcessing();
  textRest_.stop();
  textTask_.abandon();
  resetVerification();
  resetComparison();
  cancelManifest();
  cancelExport();
  copyTask_.abandon();
}

void AppViewModel::setPasteboard(const QByteArray& text) {
  copyTask_.abandon();
  desktop_.setPasteboard(text);
}

}  // namespace tallyfold

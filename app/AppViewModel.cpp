#include "app/AppViewModel.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include <QVariantMap>

#include "app/shared/AlgorithmNames.h"

namespace tallyfold {

QVariantList AppViewModel::modes() {
  QVariantList list;
  for (const AppMode::Case mode : AppMode::allCases()) {
    list.append(QVariantMap{{QStringLiteral("mode"), mode},
                            {QStringLiteral("label"), AppMode::rawValue(mode)},
                            {QStringLiteral("icon"), AppMode::iconName(mode)}});
  }
  return list;
}

AppViewModel::AppViewModel(Desktop& desktop, QObject* parent) : QObject(parent), context_(desktop) {
  connect(&context_, &FlowContext::errorMessageChanged, this, &AppViewModel::errorMessageChanged);
  connect(&context_, &FlowContext::selectedAlgorithmsChanged, this, &AppViewModel::selectedAlgorithmsChanged);
  connect(&context_, &FlowContext::selectionRefusalChanged, this, &AppViewModel::selectionRefusalChanged);
  for (const AppMode::Case mode : AppMode::allCases()) {
    const Flow& flow = flowOf(mode);
    connect(&flow, &Flow::isBusyChanged, this, &AppViewModel::busyModesChanged);
    connect(&flow, &Flow::ended, this, [this, mode](Outcome::Case outcome) { setUnseenOutcome(mode, outcome); });
  }
}

AppViewModel::~AppViewModel() {
  shutdown();
  context_.mailbox()->close();
}

Flow& AppViewModel::flowOf(AppMode::Case mode) {
  switch (mode) {
    case AppMode::Files:
      return files_;
    case AppMode::Text:
      return text_;
    case AppMode::Verify:
      return verify_;
    case AppMode::Manifest:
      return manifest_;
    case AppMode::Compare:
      break;
  }
  return compare_;
}

void AppViewModel::setMode(AppMode::Case mode) {
  if (std::exchange(mode_, mode) != mode) emit modeChanged();
  setUnseenOutcome(mode, Outcome::NoOutcome);
}

void AppViewModel::stepMode(int by) {
  constexpr auto modes = AppMode::allCases();
  const auto place = std::ranges::find(modes, mode_) - modes.begin() + by;
  setMode(modes.at(std::clamp<std::ptrdiff_t>(place, 0, std::ssize(modes) - 1)));
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

QVariantList AppViewModel::unseenOutcomes() const {
  QVariantList list;
  for (const Outcome::Case outcome : unseenOutcomes_) list.append(outcome);
  return list;
}

void AppViewModel::setUnseenOutcome(AppMode::Case mode, Outcome::Case outcome) {
  const Outcome::Case unseen = mode == mode_ ? Outcome::NoOutcome : outcome;
  if (std::exchange(unseenOutcomes_.at(mode), unseen) != unseen) emit unseenOutcomesChanged();
}

QVariantList AppViewModel::busyModes() {
  QVariantList list;
  for (const AppMode::Case mode : AppMode::allCases()) list.append(flowOf(mode).isBusy());
  return list;
}

void AppViewModel::shutdown() {
  for (const AppMode::Case mode : AppMode::allCases()) flowOf(mode).shutdown();
  context_.abandonCopy();
}

}  // namespace tallyfold

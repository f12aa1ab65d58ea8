#pragma once

#include <algorithm>
#include <array>

#include <QObject>
#include <QString>

#include "app/compare/CompareFlow.h"
#include "app/files/FilesFlow.h"
#include "app/manifest/ManifestFlow.h"
#include "app/shared/FlowContext.h"
#include "app/text/TextFlow.h"
#include "app/verify/VerifyFlow.h"

namespace tallyfold {

/// A flow for each mode, and what they share. On the interface thread.
class ModeFlows : public QObject {
  Q_OBJECT
  Q_PROPERTY(tallyfold::FilesFlow* files READ files CONSTANT)
  Q_PROPERTY(tallyfold::TextFlow* text READ text CONSTANT)
  Q_PROPERTY(tallyfold::VerifyFlow* verify READ verify CONSTANT)
  Q_PROPERTY(tallyfold::ManifestFlow* manifest READ manifest CONSTANT)
  Q_PROPERTY(tallyfold::CompareFlow* compare READ compare CONSTANT)

 public:
  [[nodiscard]] FilesFlow* files() { return &files_; }
  [[nodiscard]] TextFlow* text() { return &text_; }
  [[nodiscard]] VerifyFlow* verify() { return &verify_; }
  [[nodiscard]] ManifestFlow* manifest() { return &manifest_; }
  [[nodiscard]] CompareFlow* compare() { return &compare_; }

 protected:
  /// `desktop` must outlive it.
  ModeFlows(Desktop& desktop, QObject* parent) : QObject(parent), context_(desktop) {}

  [[nodiscard]] FlowContext& context() { return context_; }
  [[nodiscard]] const FlowContext& context() const { return context_; }

 private:
  FlowContext context_;
  FilesFlow files_{context_};
  TextFlow text_{context_};
  VerifyFlow verify_{context_};
  ManifestFlow manifest_{context_};
  CompareFlow compare_{context_};
};

/// The catalogue of the window's modes, in the order of the sidebar.
class AppMode : public QObject {
  Q_OBJECT

 public:
  enum Case { Files, Text, Verify, Manifest, Compare };
  Q_ENUM(Case)

 private:
  struct Row {
    Case mode;
    const char* label;
    Flow& (*flow)(ModeFlows& flows);
  };

  template <auto get>
  static Flow& flowOf(ModeFlows& flows) {
    return *(flows.*get)();
  }

  static constexpr auto catalogue = std::to_array<Row>({
      {Files, "Files", flowOf<&ModeFlows::files>},
      {Text, "Text", flowOf<&ModeFlows::text>},
      {Verify, "Verify", flowOf<&ModeFlows::verify>},
      {Manifest, "Manifest", flowOf<&ModeFlows::manifest>},
      {Compare, "Compare", flowOf<&ModeFlows::compare>},
  });

 public:
  AppMode() = delete;

  static constexpr std::array<Case, catalogue.size()> allCases() {
    std::array<Case, catalogue.size()> cases{};
    std::ranges::transform(catalogue, cases.begin(), &Row::mode);
    return cases;
  }

  /// The label in the sidebar, "Files". The mode's screen, FilesView.qml, is found by it.
  static QString rawValue(Case mode) { return QString::fromLatin1(catalogue.at(mode).label); }

  static Flow& flow(Case mode, ModeFlows& flows) { return catalogue.at(mode).flow(flows); }
};

static_assert(
    [] {
      int next = 0;
      for (const AppMode::Case mode : AppMode::allCases()) {
        if (mode != next++) return false;
      }
      return true;
    }(),
    "the rows stand in the order of the cases");

}  // namespace tallyfold

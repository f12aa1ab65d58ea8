#pragma once

#include <algorithm>
#include <array>

#include <QObject>
#include <QString>

namespace tallyfold {

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
    const char* icon;
  };

  static constexpr auto catalogue = std::to_array<Row>({
      {Files, "Files", "doc.on.doc"},
      {Text, "Text", "textformat"},
      {Verify, "Verify", "checkmark.shield"},
      {Manifest, "Manifest", "checklist"},
      {Compare, "Compare", "arrow.left.arrow.right"},
  });

 public:
  AppMode() = delete;

  static constexpr std::array<Case, catalogue.size()> allCases() {
    std::array<Case, catalogue.size()> cases{};
    std::ranges::transform(catalogue, cases.begin(), &Row::mode);
    return cases;
  }

  /// The label in the sidebar, "Files".
  static QString rawValue(Case mode) { return QString::fromLatin1(catalogue.at(mode).label); }

  /// The name of the icon in the sidebar, "doc.on.doc".
  static QString iconName(Case mode) { return QString::fromLatin1(catalogue.at(mode).icon); }
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

#pragma once

#include <array>

#include <QObject>
#include <QString>

namespace tallyfold {

/// The five modes of the window.
class AppMode : public QObject {
  Q_OBJECT

 public:
  /// In the order of the sidebar.
  enum Case { Files, Text, Verify, Manifest, Compare };
  Q_ENUM(Case)

  AppMode() = delete;

  static constexpr std::array<Case, 5> allCases() { return {Files, Text, Verify, Manifest, Compare}; }

  /// The label in the sidebar, "Files".
  static QString rawValue(Case mode);

  /// The name of the icon in the sidebar, "doc.on.doc".
  static QString iconName(Case mode);
};

}  // namespace tallyfold

#pragma once

#include <filesystem>
#include <optional>

#include <QList>
#include <QString>
#include <QUrl>

#include "app/compare/CompareVerdict.h"
#include "app/compare/DifferenceSearch.h"
#include "app/shared/Calculation.h"
#include "app/shared/FileCard.h"
#include "app/shared/Flow.h"
#include "core/services/FileComparison.h"

namespace tallyfold {

/// Compare mode: two files, byte for byte.
class CompareFlow : public tallyfold::Flow {
  Q_OBJECT
  Q_PROPERTY(tallyfold::FileCard compareFirstFile READ compareFirstFile NOTIFY compareURLsChanged)
  Q_PROPERTY(tallyfold::FileCard compareSecondFile READ compareSecondFile NOTIFY compareURLsChanged)
  Q_PROPERTY(tallyfold::CompareVerdict compareResult READ compareResultForScreen NOTIFY compareResultChanged)
  Q_PROPERTY(double compareProgress READ compareProgress NOTIFY compareProgressChanged)
  Q_PROPERTY(bool isComparing READ isComparing NOTIFY isComparingChanged)
  Q_PROPERTY(QString compareRefusal READ compareRefusal NOTIFY compareURLsChanged)
  Q_PROPERTY(QString compareInputRefusal READ compareInputRefusal NOTIFY isBusyChanged)
  Q_PROPERTY(tallyfold::DifferenceSearch* differences READ differences CONSTANT)

 public:
  explicit CompareFlow(FlowContext& context);

  [[nodiscard]] bool isBusy() const override { return isComparing() || differences_.isWorking(); }
  void shutdown() override { resetComparison(); }
  [[nodiscard]] QString outcomeSentence() const override;

  [[nodiscard]] const std::optional<std::filesystem::path>& compareFirstURL() const { return firstURL_; }
  [[nodiscard]] const std::optional<std::filesystem::path>& compareSecondURL() const { return secondURL_; }
  [[nodiscard]] FileCard compareFirstFile() const;
  [[nodiscard]] FileCard compareSecondFile() const;
  [[nodiscard]] std::optional<FileComparisonResult> compareResult() const;
  [[nodiscard]] CompareVerdict compareResultForScreen() const;
  [[nodiscard]] double compareProgress() const { return calculation_.progress(); }
  [[nodiscard]] bool isComparing() const { return calculation_.isRunning(); }
  [[nodiscard]] QString compareRefusal() const;
  /// Why the files cannot change now.
  [[nodiscard]] QString compareInputRefusal() const;
  /// What more there is to say of these files, and is asked for: anew with each result, and over with it.
  [[nodiscard]] DifferenceSearch* differences() { return &differences_; }

  /// Two or more `urls` set both files; one sets the file of the side. Ignored while anything is under way.
  Q_INVOKABLE void setCompareFiles(const QList<QUrl>& urls, bool isSecondSide);
  Q_INVOKABLE void chooseCompareFile(bool isSecondSide);
  Q_INVOKABLE void swapCompareFiles();
  /// Not while anything is under way.
  Q_INVOKABLE void compare();
  Q_INVOKABLE void resetComparison() { calculation_.reset(); }

 signals:
  void compareURLsChanged();
  void compareResultChanged();
  void compareProgressChanged();
  void isComparingChanged();

 private:
  using Comparing = Calculation<CompareFlow, FileComparisonWithVersions>;
  friend Comparing;

  static Outcome::Case outcomeOf(const FileComparisonWithVersions& comparison);

  std::optional<std::filesystem::path> firstURL_;
  std::optional<std::filesystem::path> secondURL_;
  ShownFileSize firstSize_{context().mailbox(), [this] { emit compareURLsChanged(); }};
  ShownFileSize secondSize_{context().mailbox(), [this] { emit compareURLsChanged(); }};
  Comparing calculation_;
  DifferenceSearch differences_{context()};
};

}  // namespace tallyfold

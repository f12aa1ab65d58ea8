#pragma once

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <QList>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include "app/AppViewModel.h"
#include "tests/app/FakeDesktop.h"
#include "tests/support/Seed.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WatchedSystemCalls.h"

namespace tallyfold::test {

namespace fs = std::filesystem;

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

/// No wait comes near it unless something is wrong.
inline constexpr std::chrono::milliseconds patience{20'000};

/// Turns the event loop until `condition` holds.
template <typename Condition>
bool reached(Condition condition) {
  return QTest::qWaitFor(condition, static_cast<int>(patience.count()));
}

/// Where another thread waits for the test.
class Gate {
 public:
  /// On the other thread. Returns when the gate is open.
  void pass() {
    std::unique_lock lock(mutex_);
    isReached_ = true;
    changed_.notify_all();
    changed_.wait(lock, [&] { return isOpen_; });
  }

  /// Blocks, with the event loop standing still, until the other thread is at the gate.
  [[nodiscard]] bool waitForArrival() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return isReached_; });
  }

  void open() {
    const std::lock_guard lock(mutex_);
    isOpen_ = true;
    changed_.notify_all();
  }

  /// For the next time, when nobody is at the gate.
  void close() {
    const std::lock_guard lock(mutex_);
    isReached_ = false;
    isOpen_ = false;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isReached_ = false;
  bool isOpen_ = false;
};

inline QUrl urlOf(const fs::path& path) { return QUrl::fromLocalFile(QString::fromStdString(path)); }

/// `count` locations that nothing was ever at.
inline QList<QUrl> vanishedFiles(int count, const QString& prefix = QStringLiteral("/nowhere/")) {
  QList<QUrl> urls;
  urls.reserve(count);
  for (int i = 0; i < count; ++i) urls.append(QUrl::fromLocalFile(prefix + QString::number(i)));
  return urls;
}

/// A model with a desktop and a folder for its files. What its workers do with files can be watched and held.
class ModelTest : public testing::Test {
 protected:
  void TearDown() override {
    gate_.open();
    model_.reset();
    EXPECT_TRUE(BackgroundTask::waitForAll(patience));
  }

  /// Stops the worker right before its `number`-th call of this name from now on, until the gate opens.
  void holdAt(std::string_view name, int number) {
    calls_.before = [this, name, number](std::string_view call, std::size_t) mutable {
      if (call == name && --number == 0) gate_.pass();
      return 0;
    };
  }

  void add(const std::vector<fs::path>& files) {
    QList<QUrl> urls;
    for (const auto& file : files) urls.append(urlOf(file));
    model_->files()->addFiles(urls);
  }

  /// Lets the worker that was held go on, to its end.
  void goOn() {
    gate_.open();
    ASSERT_TRUE(BackgroundTask::waitForAll(patience));
    QCoreApplication::processEvents();
  }

  /// Runs over the whole queue until the run has ended.
  void run() {
    model_->files()->startProcessing();
    ASSERT_TRUE(model_->files()->isProcessing());
    ASSERT_TRUE(runEnds());
  }
  bool runEnds() {
    return reached([this] { return !model_->files()->isProcessing(); });
  }

  /// All that a run or an export refuses; it must leave no trace.
  void tryEverything() {
    model_->files()->addFiles({urlOf("/more")});
    model_->files()->addDroppedFiles({urlOf("/more")});
    model_->files()->removeJob(idAt(0));
    model_->files()->startProcessing();
    model_->files()->chooseFiles();
    model_->files()->exportResults(FilesFlow::Text);
    EXPECT_FALSE(desktop_.openPanel);
    EXPECT_FALSE(desktop_.savePanel);
  }

  [[nodiscard]] Uuid idAt(int row) { return model_->files()->jobs()->idAt(row); }

  [[nodiscard]] std::vector<fs::path> paths() {
    std::vector<fs::path> list;
    for (const FileJob& job : model_->files()->jobs()->jobs()) list.push_back(*job.url);
    return list;
  }

  /// "queued", "hashing 40%", "complete", or why it failed, for every row.
  [[nodiscard]] std::vector<std::string> states() {
    std::vector<std::string> list;
    for (const FileJob& job : model_->files()->jobs()->jobs()) {
      const auto* hashing = std::get_if<FileJob::Hashing>(&job.state);
      const auto* failed = std::get_if<FileJob::Failed>(&job.state);
      list.push_back(hashing != nullptr  ? "hashing " + std::to_string(static_cast<int>(hashing->progress * 100)) + "%"
                     : failed != nullptr ? failed->message
                     : std::holds_alternative<FileJob::Complete>(job.state) ? "complete"
                                                                            : "queued");
    }
    return list;
  }

  /// The files of the results, in the order of the results.
  [[nodiscard]] std::vector<fs::path> resultPaths() {
    std::vector<fs::path> list;
    for (const auto& result : model_->files()->results()) list.push_back(result->url);
    return list;
  }

  TemporaryFolder folder_;
  FakeDesktop desktop_;
  Gate gate_;
  WatchedSystemCalls calls_;
  std::unique_ptr<AppViewModel> model_ = std::make_unique<AppViewModel>(desktop_);
};

}  // namespace tallyfold::test

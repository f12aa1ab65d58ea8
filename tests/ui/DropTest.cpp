// Real drags from another program onto the window.

#include <atomic>
#include <latch>
#include <optional>
#include <thread>

#include "app/tasks/Workers.h"
#include "core/files/SystemCalls.h"
#include "tests/support/Process.h"
#include "tests/support/ThreadLimit.h"
#include "tests/ui/WindowFixture.h"
#include "ui/drops/DropHandling.h"
#include "ui/drops/DropZone.h"

namespace tallyfold::test {

namespace {

constexpr QPoint sourceCenter(80, 60);
const std::string uriList = "text/uri-list";

class DropTest : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    waitForZone(QStringLiteral("dropZone"));
  }

  void TearDown() override {
    driver.button(1, false);
    source.reset();
    WindowFixture::TearDown();
  }

  // Starts the other program and a drag from it.
  void pick(const std::string& type, const std::string& content) {
    source.emplace(std::vector<std::string>{DRAG_SOURCE, type, content});
    waitFor("the other program", [&] { return source->hasSaid("ready"); });
    driver.movePointer(sourceCenter);
    driver.button(1, true);
    waitFor("the drag", [&] {
      jiggle(sourceCenter);
      return source->hasSaid("dragging");
    });
  }

  void jiggle(const QPoint& place) {
    isShifted = !isShifted;
    driver.movePointer(place + QPoint(isShifted ? 1 : 0, 0));
  }

  void hoverUntil(const std::string& what, const std::function<bool()>& condition) {
    waitFor(what, [&] {
      jiggle(zone->mapToGlobal(QPointF(300, std::min(500.0, zone->height() - 20))).toPoint());
      return condition();
    });
  }

  // Lets go, and returns what the other program was told, which it may know before the window does.
  std::string release() {
    driver.button(1, false);
    waitFor("the end of the drag",
            [&] { return !zone->isTargeted() && (source->hasSaid("copy") || source->hasSaid("nothing")); });
    return source->hasSaid("copy") ? "copy" : "nothing";
  }

  void hover() {
    hoverUntil("the target", [&] { return zone->isTargeted() && source->hasSaid("accepted"); });
  }

  std::string drop(const std::string& type, const std::string& content) {
    pick(type, content);
    hover();
    return release();
  }

  void waitForZone(const QString& name) {
    waitFor("the screen", [&] { return (zone = qobject_cast<DropZone*>(driver.findItem(name))) != nullptr; });
  }

  // Of all files, once so many are hashed.
  std::vector<std::string> hashedNames(std::size_t count) {
    waitFor("the run", [&] { return !model.files()->isProcessing() && model.files()->results().size() == count; });
    std::vector<std::string> names;
    for (const auto& result : model.files()->results()) names.push_back(result->url.filename());
    return names;
  }

  static std::string line(const fs::path& path) { return fileUrl(path).toEncoded().toStdString() + "\r\n"; }

  DropZone* zone = nullptr;
  std::optional<OtherProgram> source;
  bool isShifted = false;
};

TEST_F(DropTest, AFileIsTargetedAndHashedOnceItIsLetGo) {
  const QRectF card = driver.item("dropCard")->boundingRect();
  pick(uriList, line(folder.file("file", "abc")));
  EXPECT_FALSE(zone->isTargeted());
  hover();
  waitFor("the drag to leave", [&] {
    jiggle({1900, 1190});
    return !zone->isTargeted();
  });
  hover();
  EXPECT_TRUE(driver.item("dropCard")->property("isTargeted").toBool());
  EXPECT_EQ(model.files()->jobs()->count(), 0);
  EXPECT_EQ(release(), "copy");
  EXPECT_FALSE(zone->isTargeted());
  EXPECT_THAT(hashedNames(1), ElementsAre("file"));
  waitFor("a smaller card", [&] { return driver.item("dropCard")->height() < card.height(); });
}

TEST_F(DropTest, FilesAreTakenFromWhateverIsOffered) {
  const auto file = [&](const char* name) { return line(folder.file(name, name)); };
  const auto link = folder.path() / "link \xFF";
  fs::create_directory_symlink(folder.path(), link);
  const std::string folders = line(folder.path()) + line(folder.path() / "") + line(link);
  const std::vector<std::tuple<std::string, std::string, std::vector<std::string>>> drops = {
      {uriList, folders, {}},
      {uriList, line(folder.path()) + file("a") + folders, {"a"}},
      {uriList,
       file("\xFF\xFE") + file("line\nbreak") + file("50% #1?") + file("ünï \u202E"),
       {"\xFF\xFE", "line\nbreak", "50% #1?", "ünï \u202E"}},
      {"text/plain", "not a location\nhttps://example.org/file\n" + folders, {}},
      {"text/plain",
       "not a location\n" + file("first") + "https://example.org/file\n" + folders + file("other"),
       {"first", "other"}},
      {"text/x-moz-url-data", fileUrl(folder.file("one", "one")).toEncoded().toStdString(), {"one"}},
  };
  QSignalSpy lists(model.files()->jobs(), &FileJobListModel::countChanged);
  std::vector<std::string> expected;
  for (const auto& [type, content, names] : drops) {
    EXPECT_EQ(drop(type, content), "copy");
    expected.insert(expected.end(), names.begin(), names.end());
    // What was there before is hashed again.
    EXPECT_EQ(hashedNames(expected.size()), expected);
  }
  EXPECT_EQ(lists.count(), 4) << "A drop without files is none";
  for (const auto& result : model.files()->results()) {
    const std::string digest = outputOf({"sha256sum", "--zero", result->url.string()}).substr(0, 64);
    EXPECT_EQ(result->hashes.find(HashAlgorithm::sha256), digest) << result->url;
  }
  EXPECT_EQ(model.errorMessage(), "");
}

TEST_F(DropTest, WithoutAThreadForItSaysSoAndKeepsTheResults) {
  add({"a"}, "abc");
  calculate();
  pick(uriList, line(folder.file("b", "")));
  hover();
  {
    const NoThreads refused;
    EXPECT_EQ(release(), "copy");
    waitFor("the alert", [&] { return driver.findItem("alertOk") != nullptr; });
  }
  EXPECT_EQ(model.errorMessage(), Workers::Refusal().what());
  EXPECT_EQ(model.files()->results().size(), 1U);
}

TEST_F(DropTest, WhatCannotBeUsedIsRefusedWhileItHovers) {
  QSignalSpy targeted(zone, &DropZone::isTargetedChanged);
  const auto expectRefusal = [&](const std::string& type, const std::string& content) {
    pick(type, content);
    for (int i = 0; i < 20; ++i) hoverUntil("an event", [n = 0]() mutable { return ++n > 3; });
    EXPECT_EQ(release(), "nothing");
  };
  expectRefusal("application/x-color", "red");
  model.setErrorMessage(QStringLiteral("An alert is in front."));
  driver.usableItem("alertOk");
  expectRefusal(uriList, line(folder.file("behind", "")));
  model.setErrorMessage({});
  model.files()->chooseFiles();
  waitFor("the panel", [] { return Driver::panel("openPanel") != nullptr; });
  Driver::panel("openPanel")->move(1'100, 700);
  expectRefusal(uriList, line(folder.file("behind", "")));
  Driver::panel("openPanel")->close();
  EXPECT_EQ(model.files()->jobs()->count(), 0);

  add({endlessFile()});
  model.files()->startProcessing();
  expectRefusal(uriList, line(folder.file("file", "")));
  EXPECT_EQ(targeted.count(), 0);
  EXPECT_EQ(model.files()->jobs()->count(), 1);
}

TEST_F(DropTest, ChecksumListAndItsFolderAreDroppedTogether) {
  const auto list = folder.file("list.md5", "900150983cd24fb0d6963f7d28e17f72  abc\n");
  model.setMode(AppMode::Manifest);
  waitForZone(QStringLiteral("manifestDropZone"));
  const auto link = folder.path() / "link";
  fs::create_directory_symlink(folder.path(), link);
  EXPECT_EQ(drop(uriList, line(link) + line(list)), "copy");
  waitFor("the list", [&] {
    return model.manifest()->manifestJobs()->count() == 1 && model.manifest()->manifestRefusal().isEmpty();
  });
  EXPECT_EQ(model.manifest()->manifestRootURL(), link);
  EXPECT_EQ(model.manifest()->manifestURL(), list);
}

// Neither the panel nor the card waits for the disk; what was dropped before is late by then.
TEST_F(DropTest, WhatASlowDiskAnswersReplacesNoLaterChoice) {
  struct SlowDisk : SystemCalls {
    SlowDisk() { replace(this); }
    ~SlowDisk() override { replace(nullptr); }
    int look(const char* path, struct stat* status) override {
      EXPECT_NE(std::this_thread::get_id(), interfaceThread);
      ++asked;
      answers.wait();
      return SystemCalls::look(path, status);
    }
    const std::thread::id interfaceThread = std::this_thread::get_id();
    std::atomic<int> asked = 0;
    std::latch answers{1};
  } disk;
  const auto dropped = folder.file("dropped", "");
  const auto chosen = folder.file("chosen", "abc");
  const auto size = [&] { return model.verify()->verifyFile().size; };
  EXPECT_EQ(drop(uriList, line(dropped)), "copy");
  waitFor("the disk to be asked", [&] { return disk.asked == 1; });
  model.files()->clearFiles();
  model.setMode(AppMode::Verify);
  waitForZone(QStringLiteral("verifyDropZone"));
  EXPECT_EQ(drop(uriList, line(dropped)), "copy");
  waitFor("the disk to be asked", [&] { return disk.asked == 2; });
  driver.focus(window);
  driver.press({"Control_L", "o"});
  driver.answerPanel("openPanel", chosen);
  EXPECT_EQ(model.verify()->verifyURL(), chosen);
  EXPECT_EQ(size(), u"…");
  disk.answers.count_down();
  EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
  waitFor("the size", [&] { return size() == u"3 bytes"; });
  // The disk has answered: a list beside the file is looked for.
  EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
  EXPECT_EQ(model.verify()->verifyURL(), chosen);
  EXPECT_EQ(model.files()->jobs()->count(), 0);
  const std::string listed = "MD5 (chosen) = 900150983cd24fb0d6963f7d28e17f72";
  waitForZone(QStringLiteral("fieldDropZone"));
  EXPECT_EQ(drop(uriList, line(folder.file("a.md5", "00000000000000000000000000000000  dropped\n" + listed))), "copy");
  waitFor("the line of the file", [&] { return model.verify()->expectedHash().toStdString() == listed; });
  EXPECT_EQ(model.verify()->verifyURL(), chosen);
}

TEST(DroppedItemTest, IsALocationOfOneOfThreeTypes) {
  const QUrl file(QStringLiteral("file:///a%FF%0Ab"));
  for (const QVariant& item : {QVariant(file), QVariant(file.toEncoded()), QVariant(QString("file:///a%FF%0Ab"))}) {
    EXPECT_EQ(droppedFileURL(item), file);
  }
  for (const QVariant& none : {QVariant(), QVariant(42), QVariant(QByteArray("file:///50%")),
                               QVariant(QString("file://[no such host/file"))}) {
    EXPECT_FALSE(droppedFileURL(none).isValid());
  }
}

}  // namespace

}  // namespace tallyfold::test

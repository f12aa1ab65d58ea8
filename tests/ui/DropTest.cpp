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
    zone = qobject_cast<DropZone*>(driver.item("dropZone"));
    ASSERT_NE(zone, nullptr);
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
      jiggle(zone->mapToGlobal(QPointF(300, 500)).toPoint());
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

  std::string drop(const std::string& type, const std::string& content) {
    pick(type, content);
    hoverUntil("the target", [&] { return zone->isTargeted() && source->hasSaid("accepted"); });
    return release();
  }

  // The names of all files, once their run is over.
  std::vector<std::string> hashedNames() {
    waitFor("the run", [&] { return !model.files()->isProcessing() && model.files()->overallProgress() == 1; });
    std::vector<std::string> names;
    for (const FileJob& job : model.files()->jobs()->jobs()) names.push_back(job.url->filename());
    return names;
  }

  static std::string line(const fs::path& path) { return fileUrl(path).toEncoded().toStdString() + "\r\n"; }

  DropZone* zone = nullptr;
  std::optional<OtherProgram> source;
  bool isShifted = false;
};

TEST_F(DropTest, AFileIsTargetedAndHashed) {
  const auto file = folder.file("file", "abc");
  const QRectF card = driver.item("dropCard")->boundingRect();
  QSignalSpy targeted(zone, &DropZone::isTargetedChanged);
  pick(uriList, line(file));
  EXPECT_FALSE(zone->isTargeted());
  hoverUntil("the target", [&] { return zone->isTargeted() && source->hasSaid("accepted"); });
  EXPECT_TRUE(driver.item("dropCard")->property("isTargeted").toBool());
  EXPECT_EQ(model.files()->jobs()->count(), 0);
  EXPECT_EQ(release(), "copy");
  EXPECT_EQ(targeted.count(), 2);
  EXPECT_THAT(hashedNames(), ElementsAre("file"));
  EXPECT_EQ(model.files()->results().front()->hashes.find(HashAlgorithm::sha256),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(state(0), FileJobListModel::Complete);
  waitFor("a smaller card", [&] { return driver.item("dropCard")->height() < card.height(); });

  // A second drop adds to the list, and hashes all of it again.
  EXPECT_EQ(drop(uriList, line(folder.file("other", ""))), "copy");
  waitFor("both files", [&] { return model.files()->results().size() == 2 && !model.files()->isProcessing(); });
}

TEST_F(DropTest, OfFoldersAndFilesOnlyTheFilesAreTaken) {
  QSignalSpy lists(model.files()->jobs(), &FileJobListModel::countChanged);
  EXPECT_EQ(drop(uriList, line(folder.path())), "copy");
  const auto file = folder.file("file", "");
  EXPECT_EQ(drop(uriList, line(folder.path()) + line(file) + line(folder.path() / "")), "copy");
  EXPECT_THAT(hashedNames(), ElementsAre("file"));
  EXPECT_EQ(lists.count(), 1);
  EXPECT_EQ(model.errorMessage(), "");
}

TEST_F(DropTest, WithoutAThreadForItSaysSoAndKeepsTheResults) {
  add({"a"}, "abc");
  calculate();
  pick(uriList, line(folder.file("b", "")));
  hoverUntil("the target", [&] { return zone->isTargeted() && source->hasSaid("accepted"); });
  {
    const NoThreads refused;
    EXPECT_EQ(release(), "copy");
    waitFor("the alert", [&] { return driver.findItem("alertOk") != nullptr; });
  }
  EXPECT_EQ(model.errorMessage(), Workers::Refusal().what());
  EXPECT_EQ(model.files()->results().size(), 1U);
  model.setErrorMessage({});
}

TEST_F(DropTest, NamesAreBytes) {
  const std::vector<std::string> names = {"\xFF\xFE", "line\nbreak", "50% #1?", "ünïcödé \u202E"};
  std::string lines;
  for (const std::string& name : names) lines += line(folder.file(name, name));
  EXPECT_EQ(drop(uriList, lines), "copy");
  EXPECT_EQ(hashedNames(), names);
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(model.files()->results().at(i)->hashes.find(HashAlgorithm::sha256),
              outputOf({"sha256sum", "--zero", (folder.path() / names[i]).string()}).substr(0, 64));
  }
}

TEST_F(DropTest, ProgramsThatOfferOnlyTextOrBytesAreUnderstood) {
  const auto first = folder.file("first", "");
  const auto second = folder.file("second", "");
  QSignalSpy lists(model.files()->jobs(), &FileJobListModel::countChanged);
  EXPECT_EQ(drop("text/plain", "not a location\nhttps://example.org/file\n" + line(folder.path())), "copy");
  EXPECT_EQ(drop("text/plain", "not a location\n" + line(first) + "https://example.org/file\n" + line(folder.path()) +
                                   line(folder.file("other", ""))),
            "copy");
  EXPECT_THAT(hashedNames(), testing::UnorderedElementsAre("first", "other"));
  EXPECT_EQ(lists.count(), 1);
  EXPECT_EQ(drop("text/x-moz-url-data", fileUrl(second).toEncoded().toStdString()), "copy");
  waitFor("all files", [&] { return model.files()->results().size() == 3 && !model.files()->isProcessing(); });
}

TEST_F(DropTest, WhatCannotBeUsedIsRefusedWhileItHovers) {
  QSignalSpy targeted(zone, &DropZone::isTargetedChanged);
  const auto expectRefusal = [&](const std::string& type, const std::string& content) {
    pick(type, content);
    for (int i = 0; i < 20; ++i) hoverUntil("an event", [n = 0]() mutable { return ++n > 3; });
    EXPECT_EQ(release(), "nothing");
  };
  expectRefusal("application/x-color", "red");
  EXPECT_EQ(model.files()->jobs()->count(), 0);

  add({endlessFile()});
  model.files()->startProcessing();
  expectRefusal(uriList, line(folder.file("file", "")));
  EXPECT_EQ(targeted.count(), 0);
  EXPECT_EQ(model.files()->jobs()->count(), 1);
}

TEST_F(DropTest, ADragThatGoesAwayLeavesNothing) {
  pick(uriList, line(folder.file("file", "")));
  hoverUntil("the target", [&] { return zone->isTargeted() && source->hasSaid("accepted"); });
  waitFor("the drag to leave", [&] {
    jiggle({1900, 1190});
    return !zone->isTargeted();
  });
  EXPECT_EQ(release(), "nothing");
  EXPECT_EQ(model.files()->jobs()->count(), 0);
}

TEST_F(DropTest, ChecksumListAndItsFolderAreDroppedTogether) {
  const auto list = folder.file("list.md5", "900150983cd24fb0d6963f7d28e17f72  abc\n");
  model.setMode(AppMode::Manifest);
  waitFor("the screen",
          [&] { return (zone = qobject_cast<DropZone*>(driver.findItem("manifestDropZone"))) != nullptr; });
  EXPECT_EQ(drop(uriList, line(folder.path()) + line(list)), "copy");
  waitFor("the list", [&] {
    return model.manifest()->manifestJobs()->count() == 1 && model.manifest()->manifestRefusal().isEmpty();
  });
  EXPECT_EQ(model.manifest()->manifestRootURL(), folder.path());
  EXPECT_EQ(model.manifest()->manifestURL(), list);
  model.manifest()->clearManifest();
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
  const auto size = [&] { return model.verify()->verifyFile().value(QStringLiteral("size")).toString(); };
  model.setMode(AppMode::Verify);
  waitFor("the screen", [&] { return (zone = qobject_cast<DropZone*>(driver.findItem("verifyDropZone"))) != nullptr; });
  EXPECT_EQ(drop(uriList, line(dropped)), "copy");
  waitFor("the disk to be asked", [&] { return disk.asked == 1; });
  driver.focus(window);
  driver.press({"Control_L", "o"});
  driver.answerPanel("openPanel", chosen);
  EXPECT_EQ(model.verify()->verifyURL(), chosen);
  EXPECT_EQ(size(), u"…");
  disk.answers.count_down();
  EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
  waitFor("the size", [&] { return size() == u"3 bytes"; });
  EXPECT_EQ(model.verify()->verifyURL(), chosen);
}

TEST(DroppedItemTest, BecomesTheLocationThatItStandsFor) {
  const QUrl file(QStringLiteral("file:///some/file"));
  const std::vector<std::pair<QVariant, QUrl>> cases = {
      {QVariant(), QUrl()},
      {file, file},
      {QByteArray("file:///some/file"), file},
      {QString("file:///some/file"), file},
      {QByteArray("file:///50%25%20of%20it"), QUrl::fromLocalFile("/50% of it")},
      {QString("file:///ü"), QUrl::fromLocalFile("/ü")},
      {QByteArray("https://example.org/"), QUrl("https://example.org/")},
      {QString("file://[no such host/file"), QUrl()},
      {QByteArray("file:///50%"), QUrl()},
      {QByteArray(), QUrl()},
      {42, QUrl()},
      {QStringList{"file:///some/file"}, QUrl()},
  };
  for (const auto& [item, url] : cases) {
    const QUrl location = droppedFileURL(item);
    // What did not parse remembers why, and so is not equal to an empty URL.
    EXPECT_TRUE(url.isEmpty() ? !location.isValid() : location == url) << item.toString().toStdString();
  }
  EXPECT_EQ(fileLocation(droppedFileURL(QByteArray("file:///a%FF%0Ab"))), "/a\xFF\nb");
}

TEST_F(DropTest, FoldersAreMarkedWhereTheirUrlDoesNotSaySo) {
  const auto link = folder.path() / "link \xFF";
  fs::create_directory_symlink(folder.path(), link);
  const QUrl regular = fileUrl(folder.file("file", ""));
  const QUrl vanished = fileUrl(folder.path() / "vanished");
  QList<QUrl> files;
  resolveBigSurFileURLs({fileUrl(folder.path()), QVariant(), regular, QString("not a URL at all"),
                         fileUrl(link).toEncoded(), QUrl("https://example.org/file"), vanished.toString()},
                        {[&](const QList<QUrl>& dropped) { files = dropped; }, {}}, Droppable::filesAndFolders);
  waitFor("the drop", [&] { return !files.isEmpty(); });
  EXPECT_THAT(files, ElementsAre(fileUrl(folder.path() / ""), regular, fileUrl(link / ""), vanished));
}

}  // namespace

}  // namespace tallyfold::test

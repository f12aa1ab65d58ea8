// From what a desktop drops to a list of files.

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <thread>

#include <QCoreApplication>
#include <QThread>

#include "app/shared/FileLocation.h"
#include "app/tasks/Workers.h"
#include "core/files/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ThreadLimit.h"
#include "tour/XInput.h"
#include "ui/drops/DropHandling.h"

namespace tallyfold::test {

namespace {

using testing::ElementsAre;

const QUrl file(QStringLiteral("file:///some/file"));

TEST(DroppedItemTest, BecomesTheLocationThatItStandsFor) {
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
      {QString(), QUrl()},
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

class DropTest : public testing::Test {
 protected:
  void TearDown() override { waitForWorkers(); }

  static void waitForWorkers() {
    EXPECT_TRUE(Workers::waitForAll(std::chrono::milliseconds(XInput::patience))) << "No thread is left";
  }

  DropOutcome note() {
    return {[this](const QList<QUrl>& files) {
              EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
              drops.push_back(files);
            },
            [this](const QString& sentence) { refusals.push_back(sentence); }};
  }

  void drop(const QVariantList& items, Droppable kind = Droppable::files) {
    resolveBigSurFileURLs(items, note(), kind);
  }

  // What was dropped before this has arrived when this has: each drop takes the same way.
  void finish() {
    const auto before = drops.size();
    drop({QUrl("file:///the/last")});
    XInput::waitFor("the last drop",
                    [&] { return drops.size() > before && drops.back().front() == QUrl("file:///the/last"); });
    drops.pop_back();
  }

  std::vector<QList<QUrl>> drops;
  std::vector<QString> refusals;
};

TEST_F(DropTest, FoldersAreMarkedWhereTheirUrlDoesNotSaySo) {
  const TemporaryFolder folder;
  const auto link = folder.path() / "link \xFF";
  std::filesystem::create_directory_symlink(folder.path(), link);
  const QUrl regular = fileUrl(folder.file("file", ""));
  const QUrl vanished = fileUrl(folder.path() / "vanished");
  drop({fileUrl(folder.path()), QVariant(), regular, QString("not a URL at all"), fileUrl(link).toEncoded(),
        QUrl("https://example.org/file"), vanished.toString()},
       Droppable::filesAndFolders);
  XInput::waitFor("the drop", [&] { return !drops.empty(); });
  EXPECT_THAT(drops.front(), ElementsAre(fileUrl(folder.path() / ""), regular, fileUrl(link / ""), vanished));
}

TEST_F(DropTest, NothingIsCalledWhenNoFileIsLeft) {
  const TemporaryFolder folder;
  drop({});
  drop({QUrl("file:///folder/"), fileUrl(folder.path())});
  resolveFileURLs({}, note(), Droppable::files);
  resolveFileURLs(fileUrl(folder.path()).toEncoded() + "\nhttps://example.org/file", note(), Droppable::files);
  finish();
  EXPECT_TRUE(drops.empty());
}

TEST_F(DropTest, TheFileSystemIsAskedOnceAndNotOnTheInterfaceThread) {
  struct Looks : SystemCalls {
    Looks() { replace(this); }
    ~Looks() override { replace(nullptr); }
    int look(const char* path, struct stat* status) override {
      EXPECT_NE(std::this_thread::get_id(), interfaceThread);
      ++count;
      return SystemCalls::look(path, status);
    }
    const std::thread::id interfaceThread = std::this_thread::get_id();
    std::atomic<int> count = 0;
  } looks;
  const TemporaryFolder folder;
  const auto path = folder.file("file", "");
  resolveFileURLs(fileUrl(path).toEncoded(), note(), Droppable::files);
  drop({fileUrl(path)});
  XInput::waitFor("the drops", [&] { return drops.size() == 2; });
  waitForWorkers();
  EXPECT_EQ(looks.count, 2);
}

TEST_F(DropTest, SaysSoWhenThereIsNoThreadToLookAtTheFiles) {
  {
    const NoThreads refused;
    resolveFileURLs(file.toEncoded(), note(), Droppable::files);
    drop({file});
  }
  finish();
  EXPECT_THAT(refusals, ElementsAre(Workers::Refusal().what(), Workers::Refusal().what()));
  EXPECT_TRUE(drops.empty());
}

}  // namespace

}  // namespace tallyfold::test

// From what a desktop drops to a list of files, with items that load on other threads.

#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <latch>
#include <thread>

#include <QCoreApplication>
#include <QThread>

#include "app/shared/FileLocation.h"
#include "app/tasks/Workers.h"
#include "core/files/FileHandle.h"
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

TEST(DroppedItemTest, FoldersAreMarkedWhereTheirUrlDoesNotSaySo) {
  const TemporaryFolder folder;
  const auto link = folder.path() / "link \xFF";
  std::filesystem::create_directory_symlink(folder.path(), link);
  const QUrl regular = fileUrl(folder.file("file", ""));
  EXPECT_THAT(
      markedFolders({fileUrl(folder.path()), regular, fileUrl(link), fileUrl(folder.path() / "vanished")}),
      ElementsAre(fileUrl(folder.path() / ""), regular, fileUrl(link / ""), fileUrl(folder.path() / "vanished")));
}

// Delivers its item on a thread of its own, once it may; at once, on the thread that asks, when nothing says when.
class Item : public ItemProvider {
 public:
  explicit Item(QVariant item, std::latch* gate = nullptr) : item_(std::move(item)), gate_(gate) {}
  ~Item() override {
    if (thread_.joinable()) thread_.join();
  }

  void loadItem(std::function<void(const QVariant&)> completion) override {
    if (gate_ == nullptr) return completion(item_);
    thread_ = std::thread([this, completion = std::move(completion)] {
      gate_->wait();
      completion(item_);
    });
  }

 private:
  QVariant item_;
  std::latch* gate_;
  std::thread thread_;
};

class DropTest : public testing::Test {
 protected:
  void TearDown() override { waitForWorkers(); }

  static void waitForWorkers() {
    EXPECT_TRUE(Workers::waitForAll(std::chrono::milliseconds(XInput::patience))) << "No thread is left";
  }

  FilesCallback note() {
    return [this](const QList<QUrl>& files) {
      EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
      drops.push_back(files);
    };
  }

  // What was dropped before this has arrived when this has: each drop takes the same way.
  void finish() {
    const auto before = drops.size();
    resolveFileURLs({QUrl("file:///the/last")}, note());
    XInput::waitFor("the last drop",
                    [&] { return drops.size() > before && drops.back().front() == QUrl("file:///the/last"); });
    drops.pop_back();
  }

  std::vector<QList<QUrl>> drops;
};

TEST_F(DropTest, AllItemsArriveAtOnceWhateverTheirThreadsDo) {
  constexpr int count = 40;
  std::latch gate(1);
  std::vector<std::shared_ptr<ItemProvider>> items;
  QList<QUrl> expected;
  for (int i = 0; i < count; ++i) {
    const QUrl url(QStringLiteral("file:///nowhere/%1").arg(i));
    const std::vector<QVariant> kinds = {url, url.toEncoded(), url.toString(), QVariant()};
    const auto& kind = kinds[static_cast<std::size_t>(i) % kinds.size()];
    if (kind.isValid()) expected.append(url);
    items.push_back(std::make_shared<Item>(kind, &gate));
  }
  items.push_back(std::make_shared<Item>(QUrl("file:///nowhere/at/once")));
  expected.append(QUrl("file:///nowhere/at/once"));
  resolveBigSurFileURLs(items, note());
  QCoreApplication::processEvents();
  EXPECT_TRUE(drops.empty()) << "Not before the last item is there";
  gate.count_down();
  XInput::waitFor("the drop", [&] { return !drops.empty(); });
  EXPECT_THAT(drops.front(), testing::UnorderedElementsAreArray(expected));
  finish();
  EXPECT_EQ(drops.size(), 1U);
}

TEST_F(DropTest, NothingIsCalledWhenNoFileIsLeft) {
  const TemporaryFolder folder;
  std::latch gate(0);
  std::vector<std::shared_ptr<ItemProvider>> items;
  for (const QVariant& item : std::vector<QVariant>{{},
                                                    QString("not a URL at all"),
                                                    QUrl("https://example.org/file"),
                                                    QUrl("file:///folder/"),
                                                    fileUrl(folder.path())}) {
    items.push_back(std::make_shared<Item>(item, &gate));
  }
  resolveBigSurFileURLs(items, note());
  resolveBigSurFileURLs({}, note());
  resolveFileURLs({}, note());
  resolveFileURLs({fileUrl(folder.path()), QUrl("https://example.org/file")}, note());
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
  resolveFileURLs({fileUrl(path)}, note());
  resolveBigSurFileURLs({std::make_shared<Item>(fileUrl(path))}, note());
  XInput::waitFor("the drops", [&] { return drops.size() == 2; });
  waitForWorkers();
  EXPECT_EQ(looks.count, 2);
}

TEST_F(DropTest, SaysSoWhenThereIsNoThreadToLookAtTheFiles) {
  std::vector<QString> sentences;
  tellRefusals([&](const QString& sentence) { sentences.push_back(sentence); });
  {
    const NoThreads refused;
    resolveFileURLs({file}, note());
    resolveBigSurFileURLs({std::make_shared<Item>(file)}, note());
  }
  finish();
  tellRefusals(nullptr);
  EXPECT_THAT(sentences, ElementsAre(Workers::Refusal().what(), Workers::Refusal().what()));
  EXPECT_TRUE(drops.empty());
}

}  // namespace

}  // namespace tallyfold::test

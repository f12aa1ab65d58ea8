// Lists and names at their limit, in the real window: whatever is done to them, no turn of the event loop is long.

#include <cstring>

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>

#include "tests/support/TurnWatcher.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

// Sanitizers make a minute of the errors of a full queue.
constexpr int limit = longestGoodTurn > 50 ? 20'000 : 100'000;

/// Asked for its locations as objects, the toolkit would make them all in the turn that asks.
class LocationsAsBytes : public QMimeData {
 protected:
  QVariant retrieveData(const QString& format, QMetaType type) const override {
    EXPECT_EQ(type.id(), QMetaType::QByteArray);
    return QMimeData::retrieveData(format, type);
  }
};

class ManyRowsTest : public WindowFixture {
 protected:
  void TearDown() override {
    model.manifest()->clearManifest();
    WindowFixture::TearDown();
  }

  // Until `condition` holds and the screen shows it.
  void expectShortTurns(const std::string& what, const std::function<void()>& action,
                        const std::function<bool()>& condition) {
    QCoreApplication::processEvents();
    TurnWatcher turns;
    action();
    waitFor(what, condition);
    bool isDrawn = false;
    QObject context;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &context, [&] { isDrawn = true; });
    window.update();
    waitFor("a frame", [&] { return isDrawn; });
    const double longest = turns.takeLongest();
    std::cout << what << ": " << longest << " ms\n";
    EXPECT_LT(longest, longestGoodTurn) << what;
  }

  // All rows, of which there are so many.
  void expectCopied(int count) {
    const QClipboard& clipboard = *QGuiApplication::clipboard();
    QGuiApplication::clipboard()->clear();
    const auto hasCopied = [&] { return clipboard.ownsClipboard() && clipboard.mimeData()->hasText(); };
    expectShortTurns(
        "copy", [&] { model.manifest()->copyManifestRows(); }, hasCopied);
    EXPECT_EQ(clipboard.mimeData()->data(QStringLiteral("text/plain")).count('\n'), count - 1);
  }

  // However long the list is.
  void expectFewRowsMade(const char* list) {
    QMetaObject::invokeMethod(driver.item(list), "positionViewAtEnd");
    int rows = 0;
    for (const QQuickItem* item : driver.item(list)->property("contentItem").value<QQuickItem*>()->childItems()) {
      rows += item->inherits("QQuickItemDelegate") ? 1 : 0;
    }
    EXPECT_THAT(rows, testing::AllOf(testing::Gt(0), testing::Lt(100)));
  }

  void drop(const QMimeData& data) {
    const QPointF place(300, 400);
    QDragEnterEvent enter(place.toPoint(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    QDropEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &event);
  }
};

TEST_F(ManyRowsTest, FilesComeAndGo) {
  QByteArray lines;
  for (int i = 0; i < limit; ++i) lines += "file:///nowhere/folder%20" + QByteArray::number(i) + "/a%20file\r\n";
  LocationsAsBytes data;
  data.setData(QStringLiteral("text/uri-list"), lines);
  const auto isIdle = [&] { return !model.files()->isProcessing(); };
  const auto remove = [&](int row) { model.files()->removeJob(model.files()->jobs()->idAt(row)); };
  expectShortTurns(
      "drop", [&] { drop(data); }, [&] { return model.files()->jobs()->count() == limit && isIdle(); });
  expectFewRowsMade("jobList");
  EXPECT_EQ(inRow(limit - 1, "name")->property("text").toString(), "a file");
  expectShortTurns(
      "remove the first", [&] { remove(0); }, isIdle);
  expectShortTurns(
      "remove the last", [&] { remove(limit - 2); }, isIdle);
  expectShortTurns(
      "clear", [&] { model.files()->clearFiles(); }, isIdle);
}

TEST_F(ManyRowsTest, FilesThatWereDroppedBeforeTheListIsClearedComeNoMore) {
  QMimeData data;
  data.setData(QStringLiteral("text/uri-list"), "file:///nowhere/a\r\n");
  QQuickItem* clear = driver.item("clear");
  drop(data);
  QMetaObject::invokeMethod(clear, "clicked");
  ASSERT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(60)));
  QCoreApplication::processEvents();
  ASSERT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(60)));
  QCoreApplication::processEvents();
  EXPECT_EQ(model.files()->jobs()->count(), 0);
}

TEST_F(ManyRowsTest, EntriesOfTwoFilesTakeTurns) {
  // The second is read for so long that the rows of the first go before.
  const std::string names[] = {folder.file("abc", "abc").filename(), endlessFile().filename()};
  std::string lines;
  for (int i = 0; i < limit; ++i) lines += "900150983cd24fb0d6963f7d28e17f72  " + names[i % 2] + "\n";
  model.setMode(AppMode::Manifest);
  driver.item("manifestDropZone");
  model.manifest()->setManifestRoot({fileUrl(folder.path())});
  const QUrl list = fileUrl(folder.file("list", lines));
  ManifestJobListModel& jobs = *model.manifest()->manifestJobs();
  expectShortTurns(
      "load", [&] { model.manifest()->setManifestFile({list}); },
      [&] { return model.manifest()->manifestRefusal().isEmpty(); });
  const auto isFiltered = [&] { return jobs.count() == limit / 2; };
  expectShortTurns(
      "filter", [&] { jobs.setFilter(ManifestJobListModel::Waiting); }, [] { return true; });
  QQuickItem* view = driver.item("manifestList");
  view->setProperty("currentIndex", 1001);
  expectShortTurns(
      "verify", [&] { model.manifest()->verifyManifest(); }, isFiltered);
  EXPECT_EQ(view->property("currentIndex").toInt(), 500) << "The selection stays with its entry";
  expectShortTurns(
      "matches", [&] { jobs.setFilter(ManifestJobListModel::Matches); }, isFiltered);
  expectShortTurns(
      "cancel", [&] { model.manifest()->cancelManifest(); }, [&] { return !model.manifest()->isManifestVerifying(); });
  expectShortTurns(
      "all", [&] { jobs.setFilter(ManifestJobListModel::All); }, [&] { return jobs.count() == limit; });
  expectFewRowsMade("manifestList");
  expectCopied(limit);
  expectShortTurns(
      "clear", [&] { model.manifest()->clearManifest(); }, [&] { return jobs.total() == 0; });
}

TEST_F(ManyRowsTest, TextThatIsNoListOfLocationsIsDropped) {
  for (const char* line : {"any words, for instance these\n", "file:///nowhere/a\n", "file:"}) {
    QMimeData data;
    data.setData(QStringLiteral("text/plain"), QByteArray(line).repeated((64 << 20) / static_cast<int>(strlen(line))));
    resetPeakMemory();
    const double before = peakMemory();
    expectShortTurns(
        "drop of text", [&] { drop(data); }, [] { return true; });
    EXPECT_LT(peakMemory() - before, 10);
    EXPECT_EQ(model.files()->jobs()->count(), 0);
  }
}

TEST_F(ManyRowsTest, NamesOfAnySizeAreShown) {
  const auto lines = [](int count, int times, std::string_view text) {
    std::string all;
    while (count-- > 0) {
      all += "900150983cd24fb0d6963f7d28e17f72  ";
      for (int i = 0; i < times; ++i) all += text;
      all += '\n';
    }
    return all;
  };
  const struct {
    const char* what;
    int count;
    std::string list;
  } cases[] = {{"a line of control characters", 1, lines(1, 1'040'000, "\x01")},
               {"a line of Arabic words", 1, lines(1, 200'000, "\u0633\u0645 ")},
               {"60 lines of control characters", 60, lines(60, 1'040'000, "\x01")}};
  model.setMode(AppMode::Manifest);
  for (const auto& [what, count, list] : cases) {
    const QUrl url = fileUrl(folder.file("list.md5", list));
    resetPeakMemory();
    const double before = peakMemory();
    expectShortTurns(
        what, [&] { model.manifest()->setManifestFile({url}); },
        [&, count = count] {
          return !model.manifest()->isLoadingManifest() && model.manifest()->manifestJobs()->count() == count;
        });
    expectShortTurns(
        "its tip", [&] { driver.moveTo(QStringLiteral("path")); },
        [&] {
          int shown = 0;
          for (const QQuickItem* item : visibleItems(window.contentItem())) {
            if (item->property("text") == model.manifest()->manifestJobs()->index(0).data()) ++shown;
            if (item->objectName() == "path") --shown;
          }
          return shown > 0;
        });
    expectShortTurns(
        "its end", [&] { QMetaObject::invokeMethod(driver.item("manifestList"), "positionViewAtEnd"); },
        [] { return true; });
    std::cout << "  " << peakMemory() - before << " MiB\n";
    expectCopied(count);
    for (const QQuickItem* item : visibleItems(window.contentItem())) {
      EXPECT_LE(item->property("text").toString().size(), qsizetype{mostShownCharacters});
      if (!item->inherits("QQuickText")) continue;
      EXPECT_LE(item->property("contentWidth").toDouble(), window.width());
    }
  }
}

}  // namespace

}  // namespace tallyfold::test

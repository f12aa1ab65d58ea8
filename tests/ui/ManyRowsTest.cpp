// Lists at their limit, in the real window: whatever is done to them, no turn of the event loop is long.

#include <iostream>

#include <QDropEvent>
#include <QMimeData>

#include "app/FileLocation.h"
#include "tests/support/TurnWatcher.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

constexpr int limit = 100'000;

class ManyRowsTest : public WindowFixture {
 protected:
  void TearDown() override {
    model.clearManifest();
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
  QMimeData data;
  data.setData(QStringLiteral("text/uri-list"), lines);
  const auto isIdle = [&] { return !model.isProcessing(); };
  const auto remove = [&](int row) { model.removeJob(model.jobs()->idAt(row)); };
  expectShortTurns(
      "drop", [&] { drop(data); }, [&] { return model.jobs()->count() == limit && isIdle(); });
  expectShortTurns(
      "remove the first", [&] { remove(0); }, isIdle);
  expectShortTurns(
      "remove the last", [&] { remove(limit - 2); }, isIdle);
  expectShortTurns(
      "clear", [&] { model.clearFiles(); }, isIdle);
}

TEST_F(ManyRowsTest, EntriesOfTwoFilesTakeTurns) {
  // The second is read for so long that the rows of the first go before.
  const std::string names[] = {folder.file("abc", "abc").filename(), endlessFile().filename()};
  std::string lines;
  for (int i = 0; i < limit; ++i) lines += "900150983cd24fb0d6963f7d28e17f72  " + names[i % 2] + "\n";
  model.setMode(AppMode::Manifest);
  driver.item("manifestDropZone");
  model.setManifestRoot({fileUrl(folder.path())});
  const QUrl list = fileUrl(folder.file("list", lines));
  ManifestJobListModel& jobs = *model.manifestJobs();
  expectShortTurns(
      "load", [&] { model.setManifestFile({list}); }, [&] { return model.manifestRefusal().isEmpty(); });
  const auto isFiltered = [&] { return jobs.count() == limit / 2; };
  expectShortTurns(
      "filter", [&] { jobs.setFilter(ManifestJobListModel::Waiting); }, [] { return true; });
  QQuickItem* view = driver.item("manifestList");
  view->setProperty("currentIndex", 1001);
  expectShortTurns(
      "verify", [&] { model.verifyManifest(); }, isFiltered);
  EXPECT_EQ(view->property("currentIndex").toInt(), 500) << "The selection stays with its entry";
  expectShortTurns(
      "matches", [&] { jobs.setFilter(ManifestJobListModel::Matches); }, isFiltered);
  expectShortTurns(
      "cancel", [&] { model.cancelManifest(); }, [&] { return !model.isManifestVerifying(); });
  expectShortTurns(
      "all", [&] { jobs.setFilter(ManifestJobListModel::All); }, [&] { return jobs.count() == limit; });
  expectShortTurns(
      "copy", [&] { model.copyManifestRows(); }, [] { return true; });
  expectShortTurns(
      "clear", [&] { model.clearManifest(); }, [&] { return jobs.total() == 0; });
}

}  // namespace

}  // namespace tallyfold::test

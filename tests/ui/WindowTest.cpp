// The window and its sidebar, to the eye and to a screen reader, and how the program leaves.

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <semaphore>

#include <QColor>
#include <QMetaEnum>
#include <QQmlContext>
#include <QQmlExpression>

#include "core/files/SystemCalls.h"
#include "tests/ui/WindowFixture.h"
#include "ui/window/StartupWindowConfigurator.h"

namespace tallyfold::test {

namespace {

class WindowTest : public WindowFixture {
 protected:
  // The selected row of the sidebar.
  QString selectedMode() {
    QQuickItem* row = driver.item("sidebar")->property("currentItem").value<QQuickItem*>();
    return row == nullptr ? QString() : row->property("text").toString();
  }
};

TEST_F(WindowTest, AnEmptyWindowNamesWhatCanBeDone) {
  for (const char* button : {"Menu", "Choose Files…", "Presets", "Copy all checksums", "Export…", "Clear", "Calculate"})
    find(QAccessible::Button, button);
  for (const char* mode : {"Files", "Text", "Verify", "Manifest", "Compare"}) {
    EXPECT_EQ(find(QAccessible::ListItem, mode)->state().selected, mode == std::string("Files")) << mode;
  }
  for (const char* heading : {"File Hashing", "Algorithms"}) find(QAccessible::Heading, heading);
  find(QAccessible::StaticText, "Calculate multiple checksums in a single local file pass.");
  find(QAccessible::StaticText, "All selected algorithms are calculated in one file pass.");
  for (const auto& [button, refusal] : {std::pair{"Calculate", "Add files first."},
                                        {"Copy all checksums", "Select a file whose checksums are calculated."},
                                        {"Export…", "There are no checksums to export yet."},
                                        {"Clear", "The list is empty."}}) {
    EXPECT_EQ(find(QAccessible::Button, button)->text(QAccessible::Description), refusal);
  }
}

// The linter does not see a case that is misspelt in a switch.
TEST_F(WindowTest, EveryResultHasItsIconAndItsColour) {
  QQuickItem* sidebar = driver.item("sidebar");
  using Files = FileJobListModel;
  using Entries = ManifestJobListModel;
  const struct {
    const char* table;
    std::vector<std::pair<int, const char*>> looks;
  } tables[] = {
      {"iconOfVerification",
       {{VerifyVerdict::Match, "checkmark.shield.fill"},
        {VerifyVerdict::Mismatch, "xmark.shield.fill"},
        {VerifyVerdict::InvalidExpectedHash, "questionmark.diamond.fill"},
        {VerifyVerdict::AmbiguousExpectedHash, "exclamationmark.triangle.fill"},
        {VerifyVerdict::Error, "exclamationmark.triangle.fill"}}},
      {"iconOfComparison",
       {{CompareVerdict::Identical, "checkmark.circle.fill"},
        {CompareVerdict::DifferentSize, "xmark.circle.fill"},
        {CompareVerdict::ContentMismatch, "xmark.circle.fill"}}},
      {"iconOfList",
       {{ManifestVerdict::Reading, ""},
        {ManifestVerdict::Unreadable, "exclamationmark.triangle.fill"},
        {ManifestVerdict::NothingToVerify, "exclamationmark.triangle.fill"},
        {ManifestVerdict::NotVerifiedYet, "checklist"},
        {ManifestVerdict::Verifying, "checklist"},
        {ManifestVerdict::Mismatches, "xmark.circle.fill"},
        {ManifestVerdict::NotAllChecked, "exclamationmark.triangle.fill"},
        {ManifestVerdict::NotEnded, "exclamationmark.triangle.fill"},
        {ManifestVerdict::NotAllUnderstood, "exclamationmark.triangle.fill"},
        {ManifestVerdict::AllMatch, "checkmark.circle.fill"}}},
      {"iconOfEntry",
       {{Entries::Queued, "circle"},
        {Entries::Verifying, ""},
        {Entries::Match, "checkmark.circle.fill"},
        {Entries::Mismatch, "xmark.circle.fill"},
        {Entries::Failed, "exclamationmark.triangle.fill"}}},
      {"iconOfFile",
       {{Files::Queued, "clock"},
        {Files::Hashing, ""},
        {Files::Complete, "checkmark.circle.fill"},
        {Files::Failed, "exclamationmark.triangle.fill"}}},
      {"iconOfOutcome",
       {{Outcome::NoOutcome, ""},
        {Outcome::AllWell, "checkmark.circle.fill"},
        {Outcome::SomeFailed, "exclamationmark.triangle.fill"}}},
      {"toneColor",
       {{Tone::Pending, "#a0abc1"},
        {Tone::Working, "#8ab4ff"},
        {Tone::Good, "#5fdc94"},
        {Tone::Bad, "#ff8a8a"},
        {Tone::Caution, "#f5c15d"}}},
  };
  for (const auto& [table, looks] : tables) {
    for (const auto& [kind, expected] : looks) {
      const QString call = QStringLiteral("TallyTheme.%1(%2)").arg(QLatin1String(table)).arg(kind);
      const QVariant look = QQmlExpression(qmlContext(sidebar), sidebar, call).evaluate();
      EXPECT_EQ(look.toString(), expected) << table << ", " << kind;
    }
  }
}

// The ratios of WCAG 2.1, 1.4.3 and 1.4.11, on all that texts and controls stand on.
TEST_F(WindowTest, EveryTextAndEveryEdgeStandsOut) {
  QQuickItem* sidebar = driver.item("sidebar");
  const auto over = [&](std::array<double, 3> below, const QString& token) {
    const QColor top = QQmlExpression(qmlContext(sidebar), sidebar, "TallyTheme." + token).evaluate().value<QColor>();
    EXPECT_TRUE(top.isValid()) << token.toStdString();
    const std::array<double, 3> parts = {top.redF(), top.greenF(), top.blueF()};
    for (std::size_t i = 0; i < parts.size(); ++i) below[i] += (parts[i] - below[i]) * top.alphaF();
    return below;
  };
  const auto luminance = [](const std::array<double, 3>& color) {
    const auto linear = [](double part) {
      return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color[0]) + 0.7152 * linear(color[1]) + 0.0722 * linear(color[2]);
  };
  const QStringList texts = {"primary", "secondary", "tertiary", "accent", "good", "bad", "caution"};
  const QStringList edges = {"controlEdge", "accentEdge", "accent"};
  const struct {
    double least;
    QStringList marks;
    std::vector<QStringList> grounds;
  } rules[] = {
      {4.5,
       texts,
       {{}, {"surface"}, {"surface", "surface"}, {"surface", "raised"}, {"surface", "tint(TallyTheme.bad)"}}},
      {4.5, texts, {{"pressed"}, {"panel"}, {"panel", "raised"}, {"panel", "pressed"}, {"surface", "accentTint"}}},
      {4.5, texts, {{"tint(TallyTheme.good)"}, {"tint(TallyTheme.bad)"}, {"tint(TallyTheme.caution)"}}},
      {4.5, {"inkOnAccent"}, {{"accent"}, {"accentHover"}, {"accentPressed"}}},
      {3, edges, {{}, {"surface"}, {"panel"}, {"surface", "accentTint"}, {"surface", "tint(TallyTheme.bad)"}}},
      {3, edges, {{"tint(TallyTheme.good)"}, {"tint(TallyTheme.bad)"}, {"tint(TallyTheme.caution)"}}},
  };
  for (const auto& rule : rules) {
    for (const char* end : {"backgroundTop", "backgroundBottom"}) {
      for (const QStringList& layers : rule.grounds) {
        std::array<double, 3> ground = over({}, end);
        for (const QString& layer : layers) ground = over(ground, layer);
        for (const QString& mark : rule.marks) {
          const auto [darker, lighter] = std::minmax({luminance(ground), luminance(over(ground, mark))});
          EXPECT_GE((lighter + 0.05) / (darker + 0.05), rule.least)
              << mark.toStdString() << " on " << end << " " << layers.join(' ').toStdString();
        }
      }
    }
  }
}

TEST_F(WindowTest, MenusAreThereWhileTheyAreOpen) {
  add({"file"}, "abc");
  const QPoint row = inRow(0, "name")->mapToGlobal(QPointF(5, 5)).toPoint();
  const struct {
    std::function<void()> open;
    const char* item;
    std::vector<const char*> names;
  } menus[] = {
      {[&] { driver.click("presets"); },
       "presetAll",
       {"Recommended — BLAKE3 + SHA-256", "Compatibility — MD5 + SHA-1 + SHA-256", "All algorithms"}},
      {[&] { driver.clickAt(row, 3); }, "copyPath", {"Copy Checksums", "Reveal in Finder", "Copy path", "Remove"}},
      {[&] { driver.click("applicationMenu"); }, "settingsItem", {"Settings…", "About Tally Fold", "Quit"}},
  };
  for (const auto& menu : menus) {
    menu.open();
    driver.usableItem(menu.item);
    for (const char* name : menu.names) find(QAccessible::MenuItem, name);
    expectSound();
    driver.press({"Escape"});
    waitForNo(menu.item);
  }
  for (const char* item : {"Settings…", "About Tally Fold"}) {
    driver.click("applicationMenu");
    driver.usableItem("settingsItem");
    press(find(QAccessible::MenuItem, item));
    const QQuickItem* title = driver.usableItem("aboutTitle");
    QWindow& panel = *title->window();
    EXPECT_EQ(panel.size(), QSize(420, qRound(title->parentItem()->height()) + 48));
    find(QAccessible::Heading, "Tally Fold");
    find(QAccessible::StaticText, "Local checksum and file-integrity utility.");
    find(QAccessible::StaticText, "No telemetry. No network access required.");
    find(QAccessible::StaticText, "Version " TALLYFOLD_VERSION);
    if (item != std::string("Settings…")) continue;
    panel.close();
    waitForNo("aboutTitle");
    driver.focus(window);
  }
  for (const char* link : {"donationLink", "contactLink", "contactText"}) {
    EXPECT_EQ(driver.findItem(link), nullptr) << "No address, no link";
  }
}

TEST_F(WindowTest, AWindowIsSizedAndCentredOnce) {
  const QRect theirs(40, 50, 1234, 777);
  window.setGeometry(theirs);
  waitFor("the new size", [&] { return window.geometry() == theirs; });
  StartupWindowConfigurator again(window.contentItem());
  window.hide();
  window.show();
  waitFor("the window", [&] { return window.isExposed(); });
  EXPECT_EQ(window.geometry(), theirs);

  QQuickWindow other;
  again.setParentItem(other.contentItem());
  EXPECT_EQ(other.size(), QSize(1000, 680));
  const QPoint off = other.geometry().center() - other.screen()->availableGeometry().center();
  EXPECT_LE(off.manhattanLength(), 2);
  again.setParentItem(window.contentItem());
  EXPECT_EQ(window.geometry(), theirs);
}

TEST_F(WindowTest, AWindowStartsWithItsFrameOnTheScreen) {
  const QMargins title(1, 30, 1, 2);
  const struct {
    QRect available;
    QMargins frame;
    QRect window;
  } screens[] = {
      {{0, 0, 1920, 1200}, {}, {460, 260, 1000, 680}},      {{0, 27, 1920, 1052}, title, {460, 227, 1000, 680}},
      {{0, 0, 960, 600}, title, {1, 30, 958, 568}},          // 1920 x 1200 at scale 2
      {{1920, 0, 1002, 712}, title, {1921, 30, 1000, 680}},  // a second screen, of just the size
      {{0, 0, 683, 384}, title, {1, 30, 886, 520}},          // 1366 x 768 at scale 2: no less than the least
  };
  for (const auto& [available, frame, expected] : screens) {
    EXPECT_EQ(StartupWindowConfigurator::startupGeometry(available, frame, window.minimumSize()), expected);
  }
}

TEST_F(WindowTest, AtItsSmallestEverythingIsInside) {
  add({"a", "b", "c"}, "abc");
  model.setSelectedAlgorithms(HashAlgorithmSet::all());
  calculate();
  window.resize(window.minimumSize());
  waitFor("the size", [&] {
    return window.grabWindow().size() == window.minimumSize() && window.contentItem()->size() == window.minimumSize();
  });
  EXPECT_GE(driver.item("sidebar")->parentItem()->width(), 165);
  EXPECT_GE(driver.item("filesView")->width(), 720);
  EXPECT_GE(driver.item("filesView")->height(), 520);
  for (const char* name : {"filesView", "presets", "chooseFiles", "algorithm CRC-32", "jobList", "copyAll", "export",
                           "clear", "calculate", "overallProgress", "remove", "copy SHA-512", "digest SHA-512"}) {
    const QQuickItem* item = driver.usableItem(name);
    const QRectF place = item->mapRectToScene(item->boundingRect());
    EXPECT_GE(place.left(), 0) << name;
    EXPECT_LE(place.right(), window.width()) << name;
    EXPECT_GT(place.width(), 20) << name;
  }
  QQuickItem* list = driver.item("jobList");
  EXPECT_GE(list->height(), 100);
  list->forceActiveFocus();
  driver.press({"End"});
  waitFor("the end of the last row", [&] {
    const auto* last = list->property("currentItem").value<QQuickItem*>();
    return list->property("currentIndex") == 2 &&
           last->mapRectToItem(list, last->boundingRect()).bottom() <= list->height() + 1;
  });
  Driver::drawFrame();
  const auto told = below(QAccessible::queryAccessibleInterface(list));
  EXPECT_EQ(std::ranges::count(told, QAccessible::ListItem, [](auto* face) { return face->role(); }), 1);
}

TEST_F(WindowTest, FiveResultsAreSeenAtOnce) {
  add({"a", "b", "c", "d", "e", "f"}, "abc");
  calculate();
  QQuickItem* list = driver.usableItem("jobList");
  const QQuickItem* fifth = row(4);
  waitFor("room", [&] { return fifth->mapToItem(list, QPointF(0, fifth->height())).y() <= list->height(); });
  for (const char* text :
       {"Calculate multiple checksums in a single local file pass.", "Drop files to calculate checksums",
        "Files are processed locally in bounded 8 MiB chunks. Nothing is uploaded.",
        "All selected algorithms are calculated in one file pass."}) {
    QQuickItem* item = itemWithText(text);
    ASSERT_NE(item, nullptr) << text;
    EXPECT_EQ(item->property("lineCount"), 1) << text;
    EXPECT_FALSE(item->property("truncated").toBool()) << text;
  }
}

TEST_F(WindowTest, TheSidebarSelectsTheMode) {
  EXPECT_EQ(QMetaEnum::fromType<AppMode::Case>().keyCount(), std::ssize(AppMode::allCases())) << "a mode without a row";
  press(find(QAccessible::ListItem, "Verify"));
  EXPECT_EQ(model.mode(), AppMode::Verify);
  qreal above = 0;
  for (const AppMode::Case mode : AppMode::allCases()) {
    const QString name = AppMode::rawValue(mode);
    driver.click("mode" + name);
    waitFor(name.toStdString(), [&] { return model.mode() == mode; });
    EXPECT_EQ(selectedMode(), name);
    expectSound();
    const qreal y = driver.item("mode" + name)->mapToScene(QPointF()).y();
    EXPECT_GT(y, above);
    above = y;
    const auto isItsScreen = [&](const QQuickItem* item) {
      return item->property("firstPlace").isValid() && item->property("mode").toInt() == mode;
    };
    EXPECT_EQ(std::ranges::count_if(visibleItems(window.contentItem()), isItsScreen), 1) << name.toStdString();
  }
  // In both directions, and with the arrow keys.
  model.setMode(AppMode::Verify);
  waitFor("the selection", [&] { return selectedMode() == "Verify"; });
  driver.item("sidebar")->forceActiveFocus();
  const auto expectAfter = [&](const char* key, const QStringList& names) {
    for (const QString& name : names) {
      driver.press({key});
      waitFor(name.toStdString(), [&] { return selectedMode() == name; });
    }
  };
  expectAfter("Down", {"Manifest", "Compare", "Compare"});
  expectAfter("Up", {"Manifest", "Verify", "Text", "Files", "Files"});
}

TEST_F(WindowTest, TheSidebarIsAsWideAsTheUserWants) {
  const QQuickItem* sidebar = driver.item("sidebar")->parentItem();
  window.resize(1600, 700);
  waitFor("the size", [&] { return window.grabWindow().size() == QSize(1600, 700); });
  EXPECT_EQ(sidebar->width(), 190);
  const auto dragEdge = [&](int by) {
    const QPoint edge = sidebar->mapToGlobal(QPointF(sidebar->width(), 300)).toPoint();
    driver.drag(edge, edge + QPoint(by, 0));
  };
  dragEdge(+400);
  waitFor("a wide sidebar", [&] { return qAbs(sidebar->width() - 590) <= 1; });
  dragEdge(-580);
  waitFor("a narrow sidebar", [&] { return sidebar->width() == 165; });
}

TEST_F(WindowTest, ItIsDarkEverywhere) {
  const QImage picture = window.grabWindow();
  for (const QPoint& place : {QPoint(2, 2), QPoint(2, 677), QPoint(500, 2), QPoint(997, 677)}) {
    EXPECT_LT(picture.pixelColor(place).lightness(), 50);
  }
}

/// Neither a report nor a file goes on before the disk answers.
struct SlowDisk : SystemCalls {
  SlowDisk() { replace(this); }
  ~SlowDisk() override { replace(nullptr); }
  int fsync(int descriptor) override {
    isAsked = true;
    isLeft.wait(false);
    std::binary_semaphore(0).try_acquire_for(std::chrono::milliseconds(1'500));
    return SystemCalls::fsync(descriptor);
  }
  ssize_t read(int descriptor, void* bytes, std::size_t count) override {
    if (isDead) std::binary_semaphore(0).acquire();
    return SystemCalls::read(descriptor, bytes, count);
  }
  std::atomic<bool> isAsked = false;
  std::atomic<bool> isLeft = false;
  std::atomic<bool> isDead = false;
};

// Of a program that does not wait, nothing is left but the status of a failure.
TEST_F(WindowTest, LeavingWaitsForTheDiskThatAReportGoesTo) {
  add({"a"}, "abc");
  calculate();
  const fs::path report = folder.path() / "reports/report.txt";
  fs::create_directory(report.parent_path());
  for (const bool isCancelled : {false, true}) {
    SlowDisk disk;
    model.files()->exportResults(FilesFlow::Text);
    driver.answerPanel("savePanel", report);
    waitFor("the report to be forced to the disk", [&] { return disk.isAsked.load(); });
    if (isCancelled) driver.press({"Escape"});
    waitFor("the export to end without its disk", [&] { return model.files()->isExporting() != isCancelled; });
    disk.isLeft = true;
    disk.isLeft.notify_all();
    EXPECT_EQ(program->leave(1), 1);
    EXPECT_TRUE(fs::is_empty(report.parent_path()));
    window.show();
    driver.focus(window);
  }
}

// The last one: the end of this program does not wait for its worker.
TEST_F(WindowTest, LeavingDoesNotWaitForADeadDisk) {
  static auto& disk = *new SlowDisk;
  disk.isDead = true;
  model.verify()->setVerifyFile({fileUrl(folder.file("a", "abc"))});
  model.verify()->setExpectedHash("352441c2");
  model.verify()->verify();
  EXPECT_TRUE(model.verify()->isVerifying());
}

}  // namespace

}  // namespace tallyfold::test

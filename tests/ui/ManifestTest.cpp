// The Manifest mode with real keys, a real pointer and the real clipboard.

#include <algorithm>

#include <QRegularExpression>

#include "tests/support/WatchedSystemCalls.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

const std::string md5OfAbc = "900150983cd24fb0d6963f7d28e17f72";
const QString list = QStringLiteral("manifestList");

class ManifestTest : public WindowFixture {
 protected:
  void SetUp() override {
    WindowFixture::SetUp();
    fs::create_directory(root);
    enter(AppMode::Manifest);
  }

  [[nodiscard]] bool shows(const QString& objectName, const QString& text) {
    const QQuickItem* found = driver.findItem(objectName);
    return found != nullptr && found->property("text").toString() == text;
  }

  void waitForVerdict(const QString& sentence) {
    waitFor(sentence.toStdString(), [&] { return shows(QStringLiteral("manifestVerdictTitle"), sentence); });
  }

  // Loads the list and verifies it, without the screen.
  void verify(const std::string& lines) {
    model.manifest()->setManifestRoot({fileUrl(root)});
    model.manifest()->setManifestFile({fileUrl(folder.file("list.md5", lines))});
    waitFor("the list", [&] { return model.manifest()->manifestRefusal().isEmpty(); });
    model.manifest()->verifyManifest();
    waitFor("the end", [&] { return !model.manifest()->isManifestVerifying(); });
  }

  fs::path root = folder.path() / "root";
};

TEST_F(ManifestTest, VerificationIsSavedByKeysInEachFormat) {
  driver.press({"Control_L", "e"});
  EXPECT_EQ(driver.findItem("exportText"), nullptr) << "There is nothing to export";
  window.resize(window.minimumSize());
  folder.file("root/abc", "abc");
  verify(md5OfAbc + "  abc\n");
  const std::vector<std::pair<std::string, std::string>> formats{
      {"txt", "report: verif"}, {"csv", "record,line,st"}, {"json", "{\n  \"report\""}};
  for (std::size_t i = 0; i < formats.size(); ++i) {
    driver.press({"Control_L", "e"});
    driver.usableItem("exportText");
    for (std::size_t below = 0; below < i; ++below) driver.press({"Down"});
    driver.press({"Return"});
    const fs::path report = folder.path() / ("report." + formats[i].first);
    driver.answerPanel("savePanel", report);
    waitFor("the notice", [&] { return model.manifest()->manifestExport()->savedPlace() == report.c_str(); });
    find(QAccessible::AlertMessage, "Saved to " + report.string());
    waitFor("the notice below the rows", [&] {
      qreal end = window.height();
      for (const QQuickItem* place = driver.item(list); place != nullptr; place = place->parentItem()) {
        if (place->clip()) end = std::min(end, place->mapToScene({0, place->height()}).y());
      }
      return end <= driver.item("noticeAction")->mapToScene({}).y();
    });
    EXPECT_EQ(contentOf(report).substr(0, formats[i].second.size()), formats[i].second);
  }
  driver.click("dismissNotice");
  waitFor("no notice", [&] { return driver.findItem("noticeAction") == nullptr; });
}

TEST_F(ManifestTest, ListIsVerifiedInItsOwnFolder) {
  folder.file("root/abc", "abc");
  EXPECT_EQ(driver.findItem("manifestVerdict"), nullptr);
  driver.press({"Return"});
  driver.answerPanel("openPanel", folder.file("root/list.md5", md5OfAbc + "  abc\n"));
  waitForVerdict("1 entry, not verified yet");
  model.manifest()->verifyManifest();
  EXPECT_FALSE(model.manifest()->isManifestVerifying()) << "The folder of the list is proposed, and never taken";
  EXPECT_EQ(model.manifest()->manifestRefusal(), "Choose the root folder first.");
  driver.click("manifestRootProposal");
  waitFor("the root", [&] { return model.manifest()->manifestRootURL() == root; });
  driver.click("verifyManifest");
  waitForVerdict("The only entry matches");
  fs::remove(root / "abc");
  driver.click("filterAll");
  driver.press({"Tab"});
  waitFor("the list", [&] { return driver.item(list)->hasActiveFocus(); });
  driver.press({"Return"});
  waitForVerdict("The only entry could not be checked");
  driver.click("clearManifest");
  waitFor("the empty screen", [&] { return driver.findItem("chooseManifest") != nullptr; });
  find(QAccessible::AlertMessage, "Cleared the list.");
  driver.press({"Control_L", "z"});
  waitForVerdict("The only entry could not be checked");
  EXPECT_EQ(driver.findItem("noticeAction"), nullptr);
}

TEST_F(ManifestTest, ListIsMadeOfTheRoot) {
  folder.file("root/abc", "abc");
  model.manifest()->setManifestRoot({fileUrl(root)});
  driver.click("createManifest");
  driver.click("list of BLAKE3");
  waitFor("the sample", [&] { return driver.item("listSample")->property("text").toString().contains("BLAKE3 ("); });
  driver.click("list of SHA-256");
  driver.click("createList");
  waitFor("its end", [&] { return shows("listVerdictTitle", "1 file, not saved yet"); });
  driver.click("saveList");
  driver.answerPanel("savePanel", root / "list");
  waitForVerdict("1 entry, not verified yet");
  EXPECT_EQ(driver.findItem("createList"), nullptr);
  find(QAccessible::AlertMessage, "Saved to " + (root / "list").string());
  EXPECT_EQ(contentOf(root / "list"), "6437b3ac38465133ffb63b75273a8db548c558465d79db03fd359c6cd5bd9d85  abc\n");
  driver.click("manifestRootAction");
  driver.press({"Escape"});
  waitFor("the screen", [&] { return driver.findItem("createList") == nullptr; });
}

TEST_F(ManifestTest, UserSaysWhichAlgorithmTheListIsOf) {
  folder.file("root/abc", "abc");
  const std::string sha256 = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
  model.manifest()->setManifestRoot({fileUrl(root)});
  model.manifest()->setManifestFile({fileUrl(folder.file("checksums.txt", sha256 + "  abc\n"))});
  waitForVerdict("The list does not say which algorithm it is of");
  driver.click("read as BLAKE3");
  waitForVerdict("1 entry, not verified yet");
  EXPECT_EQ(driver.findItem("read as SHA-256"), nullptr);
  driver.click("manifestFileReading");
  driver.click("manifestFileReading SHA-256");
  waitFor("the other reading",
          [&] { return shows("manifestFileReading", "SHA-256") && model.manifest()->manifestRefusal().isEmpty(); });
  model.manifest()->verifyManifest();
  waitForVerdict("The only entry matches");

  // The names of a report are full: the folder that they share is proposed, and not that of the report.
  driver.click("clearManifest");
  waitFor("the empty screen", [&] { return driver.findItem("chooseManifest") != nullptr; });
  const std::string path = (root / "abc").native();
  model.manifest()->setManifestFile({fileUrl(folder.file("checksums.txt", "MD5  " + md5OfAbc + "  " + path + "\n"))});
  waitForVerdict("1 entry, not verified yet");
  driver.click("manifestRootProposal");
  waitFor("the root", [&] { return model.manifest()->manifestRootURL() == root; });

  verify("\"abc\" 352441c2\n");
  driver.click("readWithoutQuotes");
  waitForVerdict("1 entry, not verified yet");
  EXPECT_EQ(driver.findItem("manifestFileReading"), nullptr);
}

TEST_F(ManifestTest, RestIsVerifiedAgainWhereTheFolderChanged) {
  folder.file("root/abc", "abc");
  folder.file("root/last", "abc");
  verify(md5OfAbc + "  abc\n" + md5OfAbc + "  last\n");
  {
    WatchedSystemCalls system;
    system.before = [&](std::string_view name, std::size_t) {
      if (name == "read") fs::create_directory(root / "new");
      return 0;
    };
    driver.click("verifyManifest");
    waitForVerdict("1 entry could not be checked");
    EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
  }
  driver.click("verifyManifestRest");
  waitForVerdict("All 2 entries match");
  waitForNo("verifyManifestRest");
}

TEST_F(ManifestTest, FixedWordsAreWholeInTheSmallestWindow) {
  window.resize(window.minimumSize());
  waitFor("the size", [&] { return window.contentItem()->width() == window.minimumWidth(); });
  model.setMode(AppMode::Manifest);
  const auto isWhole = [&](const QString& words) {
    waitFor(words.toStdString(), [&] { return itemWithText(words) != nullptr; });
    QCoreApplication::processEvents();
    return !itemWithText(words)->property("truncated").toBool();
  };
  EXPECT_TRUE(isWhole("Drop a folder here, or choose one."));
  fs::create_directory(folder.path() / "A folder with a long name");
  model.manifest()->setManifestFile({fileUrl(folder.file("A folder with a long name/list.md5", md5OfAbc + "  abc\n"))});
  driver.item("manifestRootProposal");
  EXPECT_TRUE(isWhole("No folder selected"));
}

TEST_F(ManifestTest, PlaceThatTheUserScrolledToStaysWhereTheWindowIsSized) {
  std::string lines;
  for (int i = 0; i < 100; ++i) lines += md5OfAbc + "  a" + std::to_string(i) + "\n";
  window.resize(window.minimumSize());
  verify("no line\n" + lines);
  QQuickItem* verdict = driver.item("manifestVerdict");
  const QQuickItem* page = verdict->parentItem()->parentItem()->parentItem();
  const auto top = [&] { return verdict->mapToScene({}).y(); };
  waitFor("the audit", [&] { return !model.audit()->isLooking(); });
  Driver::waitForRest("the verdict", [&] { return verdict->mapToScene({}); });
  const qreal before = top();
  constexpr unsigned wheelDown = 5;
  driver.clickAt(verdict->mapToGlobal(QPointF(5, 5)).toPoint(), wheelDown);
  waitFor("what is below", [&] { return page->property("atYEnd").toBool() && !page->property("moving").toBool(); });
  const qreal scrolled = top();
  window.resize(window.width(), window.height() + 4);
  waitFor("the size", [&] { return window.contentItem()->height() == window.minimumHeight() + 4; });
  QCoreApplication::processEvents();
  EXPECT_LT(scrolled, before - 10);
  EXPECT_NEAR(top(), scrolled, 4);
}

TEST_F(ManifestTest, RowUnderWayTellsHowFarItIs) {
  fs::resize_file(folder.file("root/large", ""), 16ULL << 30U);
  folder.file("root/abc", "abc");
  model.manifest()->setManifestRoot({fileUrl(root)});
  const std::string lines = md5OfAbc + "  abc\n" + md5OfAbc + "  large\n" + md5OfAbc + "  abc\n";
  model.manifest()->setManifestFile({fileUrl(folder.file("list.md5", lines))});
  waitFor("the list", [&] { return model.manifest()->manifestRefusal().isEmpty(); });
  model.manifest()->verifyManifest();
  waitFor("its bar", [&] { return driver.findItem("entryProgress") != nullptr; });
  EXPECT_GT(driver.item("entryProgress")->property("value").toDouble(), 0);
  find(QAccessible::ProgressBar, "large");
  driver.press({"Escape"});
  waitFor("no bar", [&] { return driver.findItem("entryProgress") == nullptr; });
}

TEST_F(ManifestTest, TimeLeftIsThatOfTheWholeListBeforeItsFilesAreRead) {
  folder.file("root/abc", "abc");
  fs::resize_file(folder.file("root/large", ""), 16ULL << 30U);
  fs::copy(root / "abc", root / "last");
  model.manifest()->setManifestRoot({fileUrl(root)});
  const std::string lines = md5OfAbc + "  abc\n" + md5OfAbc + "  large\n" + md5OfAbc + "  last\n";
  model.manifest()->setManifestFile({fileUrl(folder.file("list.md5", lines))});
  waitForVerdict("3 entries, not verified yet");
  driver.press({"Control_L", "Return"});
  const QRegularExpression whole("^[0-9]+% of 17[.]18 GB · [0-9.]+ [KMG]B/s · [0-9].* left$");
  waitFor("the figures, and what the bar shows", [&] {
    const QString figures = model.manifest()->runStatus()->figures();
    return whole.match(figures).hasMatch() && itemWithText("1 of 3 files · " + figures) != nullptr;
  });
  driver.press({"Escape"});
  waitFor("the end", [&] { return !model.manifest()->isManifestVerifying(); });
}

TEST_F(ManifestTest, FilesThatAreNotInTheListAreShownByKeys) {
  for (const char* const name : {"root/abc", "root/first"}) folder.file(name, "abc");
  folder.file("root/second", "other");
  verify(md5OfAbc + "  abc\n");
  waitForVerdict("The only entry matches");
  waitFor("the count", [&] {
    return driver.item("manifestVerdictDetails")
        ->property("text")
        .toString()
        .endsWith(" 2 files in the folder are not in the list.");
  });
  driver.click("filterWarnings");
  driver.press({"Right"});
  const QString unlisted = QStringLiteral("unlistedList");
  waitFor("the rows", [&] { return driver.findItem(unlisted) && driver.item(unlisted)->property("count") == 2; });
  expectSound();
  find(QAccessible::RadioButton, "Unlisted, 2");
  find(QAccessible::ListItem, "second");
  driver.press({"Tab", "Down"});
  driver.press({"Control_L", "c"});
  waitForClipboard("second");
  driver.press({"Control_L", "Shift_L", "c"});
  waitForClipboard("first\nsecond");
  driver.press({"Control_L", "f"});
  driver.type("ir");
  waitFor("the one", [&] { return driver.item(unlisted)->property("count") == 1; });
  driver.press({"Escape"});
  driver.click("filterAll");
  waitFor("the entries", [&] { return driver.item(list)->property("count") == 1; });
  verify(md5OfAbc + "  abc\n" + md5OfAbc + "  gone\n");
  driver.click("findMoved");
  waitFor("where it is", [&] { return shows("note", "It is now at “\u2068first\u2069”."); });
  expectSound();
  waitForNo("findMoved");
  driver.click("filterUnlisted");
  waitFor("what it was", [&] { return shows("note", "It was “\u2068gone\u2069”."); });
  driver.click("verifyManifest");
  waitFor("the entries again", [&] { return driver.findItem(unlisted) == nullptr; });
}

TEST_F(ManifestTest, RowsAreFilteredAndCopied) {
  folder.file("root/abc", "abc");
  const std::string zero(32, '0');
  verify(md5OfAbc + "  abc\nno checksum\n" + zero + "  abc\n" + md5OfAbc + "  missing\n");
  waitForVerdict("1 entry does not match, 1 could not be checked");
  expectSound();
  find(QAccessible::Grouping, "Checksum list: list.md5");
  find(QAccessible::AlertMessage, "1 entry does not match, 1 could not be checked");
  find(QAccessible::ListItem, "Line 1, abc, MD5, Match");
  find(QAccessible::ListItem, "Line 4, missing, MD5, No such file or directory");

  find(QAccessible::RadioButton, "Failed, 1");
  driver.click("filterMismatch");
  waitFor("the mismatch alone", [&] { return driver.item(list)->property("count") == 1; });
  waitFor("its digest", [&] { return shows("actual", QString::fromStdString(md5OfAbc)); });
  EXPECT_EQ(driver.item("expected")->x(), driver.item("actual")->x());
  driver.press({"Control_L", "c"});
  const std::string mismatch = "3\tMD5\tabc\tMismatch. Actual: " + md5OfAbc + "\tExpected: " + zero;
  waitForClipboard(mismatch);

  driver.press({"Right"});
  waitFor("the failure", [&] { return shows("message", "No such file or directory"); });
  driver.clickAt(driver.item("message")->mapToGlobal(QPointF(5, 5)).toPoint(), 3);
  driver.click("copyRow");
  const std::string failure = "4\tMD5\tmissing\tNo such file or directory";
  waitForClipboard(failure);

  driver.click("filterAll");
  waitFor("all rows", [&] { return driver.item(list)->property("count") == 3; });
  driver.press({"Control_L", "Shift_L", "c"});
  waitForClipboard("1\tMD5\tabc\tMatch\n" + mismatch + "\n" + failure);
  driver.press({"Tab"});
  waitFor("the list", [&] { return driver.item(list)->hasActiveFocus(); });
  driver.press({"End"});
  driver.press({"Control_L", "c"});
  waitForClipboard(failure);
  driver.press({"Shift_L", "Up"});
  driver.press({"Control_L", "c"});
  waitForClipboard(mismatch + "\n" + failure);
  press(find(QAccessible::RadioButton, "Warnings, 1"));
  waitFor("the warnings", [&] { return driver.findItem("manifestWarnings") != nullptr; });
  find(QAccessible::ListItem, "Line 2: unsupported checksum format.");
  driver.click("copyRows");
  waitForClipboard("Line 2: unsupported checksum format.");
  driver.click("filterWaiting");
  waitFor("no rows", [&] { return shows("manifestEmpty", "No entry is in this state."); });
}

}  // namespace

}  // namespace tallyfold::test

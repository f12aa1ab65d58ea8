// The Text, Verify and Compare modes with real keys, a real pointer and the real clipboard.

#include <QClipboard>
#include <QGuiApplication>

#include "tests/support/TurnWatcher.h"
#include "tests/ui/SilentClipboardOwner.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

class OtherModes : public WindowFixture {
 protected:
  [[nodiscard]] QString textOfItem(const QString& objectName) {
    return driver.item(objectName)->property("text").toString();
  }
};

TEST_F(OtherModes, DigestOfATextIsCopiedAndGoesWithItsAlgorithm) {
  model.choosePreset(AppViewModel::AllAlgorithms);
  enter(AppMode::Text);
  driver.click("textEditor");
  driver.type("abc");
  waitFor("the digests", [&] { return textOfItem("text digest MD5") == u"900150983cd24fb0d6963f7d28e17f72"; });
  EXPECT_EQ(textOfItem("byteCount"), u"3 bytes (UTF-8)");
  driver.click("text copy MD5");
  waitForClipboard("900150983cd24fb0d6963f7d28e17f72");
  driver.click("text algorithm MD5");
  waitFor("the digest to go",
          [&] { return textOfItem("text digest MD5").isEmpty() && !textOfItem("text digest SHA-1").isEmpty(); });
  driver.click("clearText");
  waitFor("no text", [&] { return model.text()->textInput().isEmpty(); });
}

TEST_F(OtherModes, TextTooLongForAnEditorIsTakenWholeAndItsBeginningShown) {
  const QString smile = QStringLiteral("\U0001F600");
  const QString large = QString(1'000'000, u'x') + smile;
  const auto pasteByKey = [&] { driver.press({"Control_L", "v"}); };
  const auto pasteByShift = [&] { driver.press({"Shift_L", "Insert"}); };
  const auto pasteByButton = [&] { driver.click("pasteChecksum"); };
  const struct {
    AppMode::Case mode;
    QString editor;
    std::function<QString()> content;
    QString clear;
  } editors[] = {
      {AppMode::Text, "textEditor", [this] { return model.text()->textInput(); }, "clearText"},
      {AppMode::Verify, "checksumField", [this] { return model.verify()->expectedHash(); }, "clearChecksum"}};
  for (const auto& [mode, editor, content, clearButton] : editors) {
    const auto waitForText = [&, content = content](const std::function<bool(const QString&)>& isRight) {
      waitFor("the text", [&] { return isRight(content()); });
    };
    const auto clear = [&, button = clearButton] {
      driver.click(button);
      waitForText([](const QString& text) { return text.isEmpty(); });
    };
    const auto offer = [](const QString& text) {
      QGuiApplication::clipboard()->setText(text);
      QGuiApplication::clipboard()->setText(u's' + text, QClipboard::Selection);
    };
    const auto paste = [&](const QString& text, const std::function<void()>& way) {
      TurnWatcher turns;
      way();
      waitForText([&](const QString& now) { return now.endsWith(text); });
      EXPECT_LT(turns.takeLongest(), longestGoodTurn);
    };
    const auto pasteByMouse = [&, editor = editor] {
      driver.clickAt(driver.item(editor)->mapToGlobal(QPointF(40, 15)).toPoint(), 2);
    };
    enter(mode);
    offer(large);
    std::vector<std::function<void()>> ways = {pasteByKey, pasteByShift, pasteByMouse};
    if (mode == AppMode::Verify) ways.emplace_back(pasteByButton);
    for (const auto& way : ways) {
      if (!content().isEmpty()) clear();
      driver.click(editor);
      driver.type("a");
      waitForText([](const QString& text) { return text == u"a"; });
      paste(large, way);
      waitFor("words about it", [&] {
        return itemWithText("Only the beginning of this text is shown.") != nullptr ||
               textOfItem("byteCount").endsWith("Only the beginning of this text is shown.");
      });
      EXPECT_EQ(textOfItem(editor).size(), 7'000);
      EXPECT_EQ(content().contains(u's'), &way == &ways[2]) << "Only the middle button pastes what is selected";
    }
    // Writing in two directions takes longest to lay out. As much as is shown may be typed on.
    for (const QString& text : {QStringLiteral("a\u05D0").repeated(3'495), QString(6'998, u'x') + smile}) {
      clear();
      offer(text);
      driver.click(editor);
      paste(text, pasteByKey);
    }
    driver.press({"Control_L", "Home"});
    driver.type("a");
    waitForText([](const QString& text) { return text.size() == 7'001; });
    EXPECT_TRUE(textOfItem(editor) == u'a' + QString(6'998, u'x')) << "No half of a character is shown";
    clear();
  }
}

TEST_F(OtherModes, TextIsVerifiedAsTheEditorShowsIt) {
  enter(AppMode::Verify);
  QGuiApplication::clipboard()->setText("a\r\nb");
  const QSignalSpy changes(model.verify(), &VerifyFlow::expectedHashChanged);
  for (const int soFar : {2, 4}) {
    driver.click("pasteChecksum");
    waitFor("the text, and what the editor makes of it", [&] { return changes.count() == soFar; });
    EXPECT_EQ(model.verify()->expectedHash(), u"a\nb");
    EXPECT_EQ(textOfItem("checksumField"), u"a\nb");
  }
}

TEST_F(OtherModes, ClipboardThatDoesNotAnswerIsAskedOnceForEachPaste) {
  enter(AppMode::Text);
  driver.click("textEditor");
  SilentClipboardOwner owner;
  driver.type("a");
  waitFor("the text", [&] { return model.text()->textInput() == u"a"; });
  EXPECT_EQ(owner.requests(), 0) << "before anything is pasted";
  driver.press({"Control_L", "v"});
  driver.type("b");
  waitFor("what was typed after", [&] { return model.text()->textInput() == u"ab"; });
  EXPECT_EQ(owner.requests(), 1);
  driver.clickAt(driver.item("textEditor")->mapToGlobal(QPointF(40, 15)).toPoint(), 2);
  driver.press({"End"});
  driver.type("c");
  waitFor("what was typed after", [&] { return model.text()->textInput() == u"abc"; });
  EXPECT_EQ(owner.requests(), 2) << "the middle button";
  driver.click("clearText");
  waitFor("no text", [&] { return model.text()->textInput().isEmpty(); });
  enter(AppMode::Verify);
  driver.click("pasteChecksum");
  driver.click("checksumField");
  driver.press({"Control_L", "v"});
  driver.type("d");
  waitFor("what was typed after", [&] { return model.verify()->expectedHash() == u"d"; });
  EXPECT_EQ(owner.requests(), 4);
}

TEST_F(OtherModes, HeadingIsSeenAboveTheVerdictInTheSmallestWindow) {
  const QUrl first = fileUrl(folder.file("first", std::string(64, 'a')));
  model.compare()->setCompareFiles({first, fileUrl(folder.file("second", std::string(64, 'b')))}, false);
  model.verify()->setVerifyFile({first});
  model.verify()->setExpectedHash("00000000000000000000000000000000  other");
  model.compare()->compare();
  model.verify()->verify();
  window.resize(window.minimumSize());
  for (const AppMode::Case mode : {AppMode::Verify, AppMode::Compare}) {
    const char* const verdict = mode == AppMode::Verify ? "verdict" : "comparison";
    enter(mode);
    Driver::waitForRest(verdict, [&]() -> std::optional<QPointF> {
      const QQuickItem* place = driver.findItem(verdict);
      return place == nullptr ? std::nullopt : std::optional(place->mapToScene({}));
    });
    EXPECT_GE(find(QAccessible::Heading, AppMode::rawValue(mode).toStdString())->rect().top(), window.y());
  }
}

TEST_F(OtherModes, WorkGoesOnInAnotherModeAndEscapeEndsIt) {
  const auto endless = endlessFile();
  const auto equal = folder.file("equal", "");
  fs::resize_file(equal, fs::file_size(endless));
  add({endless});
  model.verify()->setVerifyFile({fileUrl(endless)});
  model.verify()->setExpectedHash("00000000");
  model.manifest()->setManifestRoot({fileUrl(folder.path())});
  model.manifest()->setManifestFile({fileUrl(folder.file("list", "00000000000000000000000000000000  equal\n"))});
  model.compare()->setCompareFiles({fileUrl(endless), fileUrl(equal)}, false);
  waitFor("the list", [&] { return model.manifest()->manifestRefusal().isEmpty(); });
  for (const AppMode::Case mode : {AppMode::Files, AppMode::Verify, AppMode::Manifest, AppMode::Compare}) {
    const QString name = AppMode::rawValue(mode);
    const auto isBusy = [&flow = model.flow(mode)] { return flow.isBusy(); };
    enter(mode);
    driver.press({"Control_L", "Return"});
    waitFor("work", isBusy);
    enter(AppMode::Text);
    EXPECT_EQ(driver.item("mode" + name)->property("announcement").toString(), name + ", working");
    driver.press({"Escape"});
    enter(mode);
    EXPECT_TRUE(isBusy()) << name.toStdString();
    driver.press({"Escape"});
    waitFor("the end of the work", [&] { return !isBusy(); });
  }
}

TEST_F(OtherModes, DifferencesAreLookedIntoWithTheKeyboard) {
  const auto endless = endlessFile();
  const auto other = folder.file("other", "x");
  fs::resize_file(other, fs::file_size(endless));
  const auto isBusy = [this] { return model.compare()->isBusy(); };
  enter(AppMode::Compare);
  const auto compare = [&](const fs::path& a, const fs::path& b) {
    model.compare()->setCompareFiles({fileUrl(a), fileUrl(b)}, false);
    driver.press({"Control_L", "Return"});
    waitFor("the result", [&] { return !isBusy() && model.compare()->compareResult(); });
  };
  compare(endless, other);
  driver.item("compare")->property("place").value<QQuickItem*>()->forceActiveFocus();
  driver.press({"Tab"});
  waitFor("what can be asked", [&] { return focusedName() == "Count All Differences"; });
  DoubleClickInterval doubleClick(60'000);
  driver.press({"Return"});
  waitFor("the count", isBusy);
  EXPECT_EQ(focusedName(), "Cancel");
  expectSound();
  driver.press({"Return"});
  driver.click("askForMore");
  driver.press({"Tab"});
  waitFor("the copy", [&] { return focusedName() == "Copy the bytes"; });
  EXPECT_TRUE(isBusy()) << "The second press of the button is not for what it has become";
  driver.press({"Shift_L", "Tab"});
  waitFor("the button", [&] { return focusedName() == "Cancel"; });
  doubleClick.set(0);
  driver.press({"Escape"});
  waitFor("its end", [&] { return !isBusy(); });
  EXPECT_EQ(focusedName(), "Count All Differences");
  driver.press({"Tab"});
  waitFor("the copy", [&] { return focusedName() == "Copy the bytes"; });
  driver.press({"Return"});
  const QString rows = textOfItem("differenceRows");
  EXPECT_EQ(rows.count("^"), 3);
  waitForClipboard(rows.toStdString());
  driver.press({"Tab"});
  waitFor("the bytes", [&] { return driver.item("differenceRows")->hasActiveFocus(); });
  driver.press({"Control_L", "a"});
  QGuiApplication::clipboard()->clear();
  driver.press({"Control_L", "c"});
  waitForClipboard(rows.toStdString());

  compare(folder.file("beginning", "abc"), folder.file("whole", "abcd"));
  waitForNo("differenceRows");
  driver.click("askForMore");
  waitFor("the answer", [&] { return textOfItem("comparisonAnswer0") == u"A is the beginning of B."; });
  waitFor("the keys to move on", [&] { return focusedName() == "Compare"; });

  window.resize(885, 520);
  compare(folder.file("a", std::string(3'000'000, 'a') + "b"), folder.file("b", std::string(3'000'009, 'a')));
  driver.click("askForMore");
  waitFor("the bytes in the window", [&] {
    const QQuickItem* bytes = driver.findItem("differenceRows");
    return bytes != nullptr && bytes->mapToScene({0, bytes->height()}).y() <= window.height();
  });
}

}  // namespace

}  // namespace tallyfold::test

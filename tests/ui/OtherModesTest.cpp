// The Text, Verify and Compare modes with real keys, a real pointer and the real clipboard.

#include <map>

#include <QClipboard>
#include <QGuiApplication>

#include "tests/support/TurnWatcher.h"
#include "tests/ui/SilentClipboardOwner.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

class OtherModes : public WindowFixture {
 protected:
  void TearDown() override {
    model.verify()->resetVerification();
    model.verify()->setExpectedHash({});
    model.verify()->setVerifyAlgorithm(QStringLiteral("Auto"));
    model.compare()->resetComparison();
    model.manifest()->clearManifest();
    WindowFixture::TearDown();
  }

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
  const QString large = QString(1'000'000, u'x') + QStringLiteral("\U0001F600");
  QGuiApplication::clipboard()->setText(large);
  QGuiApplication::clipboard()->setText(large, QClipboard::Selection);
  const struct {
    AppMode::Case mode;
    const char* editor;
    std::function<QString()> content;
    const char* clear;
  } editors[] = {
      {AppMode::Text, "textEditor", [this] { return model.text()->textInput(); }, "clearText"},
      {AppMode::Verify, "checksumField", [this] { return model.verify()->expectedHash(); }, "clearChecksum"}};
  for (const auto& [mode, editor, content, clear] : editors) {
    const auto has = [&, content = content](const QString& text) { return content() == text; };
    const auto middle = [&, editor = editor] {
      driver.clickAt(driver.item(editor)->mapToGlobal(QPointF(40, 15)).toPoint(), 2);
    };
    enter(mode);
    const std::vector<std::function<void()>> ways = {
        [&] {
          driver.press({"Control_L", "v"});
        },
        [&] {
          driver.press({"Shift_L", "Insert"});
        },
        middle, [&, mode = mode] { mode == AppMode::Verify ? driver.click("pasteChecksum") : middle(); }};
    for (const auto& paste : ways) {
      driver.click(editor);
      driver.type("a");
      waitFor("what was typed", [&] { return has(QStringLiteral("a")); });
      TurnWatcher turns;
      paste();
      waitFor("all of it", [&, content = content] { return content().size() >= large.size(); });
      EXPECT_TRUE(content().endsWith(large));
      waitFor("words about it", [&] {
        return itemWithText("Only the beginning of this text is shown.") != nullptr ||
               textOfItem("byteCount").endsWith("Only the beginning of this text is shown.");
      });
      EXPECT_LT(turns.takeLongest(), longestGoodTurn);
      EXPECT_EQ(textOfItem(editor).size(), 10'000);
      driver.click(clear);
      waitFor("no text", [&] { return has({}); });
    }
    // Writing in two directions takes longest to lay out.
    QGuiApplication::clipboard()->setText(QStringLiteral("a\u05D0").repeated(4'995));
    driver.click(editor);
    TurnWatcher turns;
    driver.press({"Control_L", "v"});
    waitFor("the text", [&, content = content] { return content().size() == 9'990; });
    EXPECT_LT(turns.takeLongest(), longestGoodTurn);
    driver.click(clear);
    waitFor("no text", [&] { return has({}); });
    // As much as is shown may be typed on.
    QGuiApplication::clipboard()->setText(QString(9'998, u'x') + QStringLiteral("\U0001F600"));
    driver.click(editor);
    driver.press({"Control_L", "v"});
    waitFor("the text", [&, content = content] { return content().size() == 10'000; });
    driver.press({"Control_L", "Home"});
    driver.type("a");
    waitFor("the key", [&, content = content] { return content().size() == 10'001; });
    EXPECT_TRUE(textOfItem(editor) == u'a' + QString(9'998, u'x')) << "No half of a character is shown";
    driver.click(clear);
    waitFor("no text", [&] { return has({}); });
    QGuiApplication::clipboard()->setText(large);
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

TEST_F(OtherModes, WorkGoesOnInAnotherModeAndEscapeEndsIt) {
  const auto endless = endlessFile();
  const auto equal = folder.file("equal", "");
  std::filesystem::resize_file(equal, std::filesystem::file_size(endless));
  const std::map<AppMode::Case, std::function<void()>> starts = {
      {AppMode::Files,
       [&] {
         add({endless});
         model.files()->startProcessing();
       }},
      {AppMode::Verify,
       [&] {
         model.verify()->setVerifyFile({fileUrl(endless)});
         model.verify()->setExpectedHash("00000000");
         model.verify()->verify();
       }},
      {AppMode::Manifest,
       [&] {
         model.manifest()->setManifestRoot({fileUrl(folder.path())});
         model.manifest()->setManifestFile({fileUrl(folder.file("list", "00000000000000000000000000000000  equal\n"))});
         waitFor("the list", [&] { return model.manifest()->manifestRefusal().isEmpty(); });
         model.manifest()->verifyManifest();
       }},
      {AppMode::Compare,
       [&] {
         model.compare()->setCompareFiles({fileUrl(endless), fileUrl(equal)}, false);
         model.compare()->compare();
       }},
  };
  for (const auto& [mode, start] : starts) {
    const QString name = AppMode::rawValue(mode);
    const auto isBusy = [&, index = mode] { return model.busyModes().at(index).toBool(); };
    enter(mode);
    start();
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

}  // namespace

}  // namespace tallyfold::test

// The Files mode with the mouse.

#include <gmock/gmock.h>

#include <QDBusConnection>

#include "app/shared/FileLocation.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

/// Stands in for the desktop's file browser, on the session bus.
class FileBrowser : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

 public:
  QStringList shown;

  Q_SLOT void ShowItems(const QStringList& items, const QString&) { shown = items; }
};

namespace {

constexpr std::string_view abc = "abc";
const std::string sha256OfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const std::string sha256OfNothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

class FilesMouseTest : public WindowFixture {
 protected:
  void click(const QQuickItem& item, unsigned button = 1) {
    driver.clickAt(item.mapToGlobal(item.boundingRect().center()).toPoint(), button);
  }

  void openRowMenu(int index) {
    click(*inRow(index, "name"), 3);
    driver.usableItem("copyPath");
  }

  // The text of the digest, and where a digit of it is on the screen.
  QQuickItem* digest(int index, const QString& algorithm) {
    for (QQuickItem* item : visibleItems(inRow(index, "digest " + algorithm))) {
      if (item->property("selectedText").isValid()) return item;
    }
    throw std::runtime_error("There is no selectable text.");
  }

  static QPoint digit(QQuickItem* text, int position) {
    QRectF place;
    QMetaObject::invokeMethod(text, "positionToRectangle", Q_RETURN_ARG(QRectF, place), Q_ARG(int, position));
    return text->mapToGlobal(place.center()).toPoint();
  }
};

TEST_F(FilesMouseTest, ChipsChangeTheSelectionAndAPresetReplacesIt) {
  driver.click("algorithm SHA-256");
  driver.click("algorithm CRC-32");
  waitFor("the chips", [&] { return model.selectedAlgorithmNames() == QStringList{"BLAKE3", "CRC-32"}; });
  EXPECT_TRUE(driver.item("algorithm CRC-32")->property("checked").toBool());
  EXPECT_FALSE(driver.item("algorithm SHA-256")->property("checked").toBool());
  model.setAlgorithmSelected("CRC-32", false);
  EXPECT_FALSE(driver.item("algorithm CRC-32")->property("checked").toBool()) << "A clicked chip still follows";
  driver.click("presets");
  driver.click("presetRecommended");
  waitFor("the preset", [&] { return model.selectedAlgorithms() == HashAlgorithm::recommended; });
}

TEST_F(FilesMouseTest, CalculateAndCancelAreTheSameButtonAndClearEmptiesTheList) {
  add({"first"}, abc);
  add({endlessFile()});
  driver.click("calculate");
  waitFor("the endless file", [&] { return state(1) == FileJobListModel::Hashing; });
  EXPECT_NE(itemWithText("Cancel"), nullptr);
  EXPECT_EQ(itemWithText("Calculate"), nullptr);
  EXPECT_DOUBLE_EQ(driver.item("overallProgress")->property("value").toDouble(), 0.5);

  // During a run the selection and the list stay.
  driver.click("algorithm MD5");
  driver.click("presets");
  click(*inRow(0, "remove"));
  openRowMenu(0);
  driver.click("removeRow");
  driver.press({"Escape"});
  waitFor("the menu to close", [&] { return driver.findItem("copyPath") == nullptr; });
  EXPECT_TRUE(model.files()->isProcessing()) << "The key closed the menu, and nothing else";
  EXPECT_EQ(driver.findItem("presetAll"), nullptr);
  EXPECT_TRUE(model.selectedAlgorithms() == HashAlgorithm::recommended);

  driver.click("calculate");
  waitFor("the end of the run", [&] { return !model.files()->isProcessing(); });
  EXPECT_EQ(state(0), FileJobListModel::Complete);
  EXPECT_EQ(state(1), FileJobListModel::Queued);
  EXPECT_NE(itemWithText("Queued"), nullptr);

  driver.click("calculate");
  waitFor("the endless file", [&] { return state(1) == FileJobListModel::Hashing; });
  driver.click("clear");
  waitFor("an empty list", [&] { return model.files()->jobs()->count() == 0 && !model.files()->isProcessing(); });
  EXPECT_NE(driver.findItem("emptyList"), nullptr);
}

TEST_F(FilesMouseTest, CopyButtonsActOnTheirRow) {
  add({folder.file("first", abc), folder.file("second", "")});
  calculate();
  click(*inRow(1, "copy SHA-256"));
  waitFor("one digest", [&] { return driver.clipboard() == sha256OfNothing; });
  click(*inRow(0, "name"));
  driver.click("copyAll");
  waitFor("all checksums", [&] { return driver.clipboard().starts_with("SHA-256: " + sha256OfAbc + "\nBLAKE3: "); });
}

TEST_F(FilesMouseTest, SelectedDigitsAreCopiedWithoutTheGapsThatTheEyeSees) {
  add({"first"}, abc);
  model.setAlgorithmSelected("SHA-512", true);
  calculate();
  QQuickItem* sha256 = digest(0, "SHA-256");
  driver.clickAt(digit(sha256, 20));
  driver.clickAt(digit(sha256, 20));
  waitFor("a whole digest", [&] { return sha256->property("selectedText").toString().size() == 64; });
  driver.press({"Control_L", "c"});
  waitFor("the digest", [&] { return driver.clipboard() == sha256OfAbc; });

  // From one line into the next, of a digest that takes two.
  QQuickItem* sha512 = digest(0, "SHA-512");
  const QPoint from = digit(sha512, 60);
  const QPoint to = digit(sha512, 68);
  EXPECT_LT(from.y(), to.y());
  driver.drag(from, to);
  waitFor("eight digits", [&] { return sha512->property("selectedText").toString().size() == 8; });
  EXPECT_EQ(sha256->property("selectedText").toString(), "") << "Only one selection at a time";
  driver.press({"Control_L", "c"});
  waitFor("eight digits", [&] {
    return driver.clipboard() ==
           model.files()->results().front()->hashes.find(HashAlgorithm::sha512).value().substr(60, 8);
  });

  click(*inRow(0, "name"));
  driver.press({"Control_L", "c"});
  waitFor("all checksums", [&] { return driver.clipboard().starts_with("SHA-256: "); });
}

TEST_F(FilesMouseTest, TheMenuOfARowRevealsCopiesItsPathAndRemovesIt) {
  auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "file browser");
  FileBrowser browser;
  ASSERT_TRUE(bus.registerObject("/org/freedesktop/FileManager1", &browser, QDBusConnection::ExportAllSlots));
  ASSERT_TRUE(bus.registerService("org.freedesktop.FileManager1"));
  const auto file = folder.file("50% of \xFF\n", abc);
  add({"first"}, abc);
  add({file});

  openRowMenu(1);
  driver.click("reveal");
  waitFor("the file browser", [&] { return !browser.shown.isEmpty(); });
  EXPECT_THAT(browser.shown, testing::ElementsAre(fileUrl(file).toString(QUrl::FullyEncoded)));
  EXPECT_EQ(fileLocation(QUrl(browser.shown.value(0))), file);

  openRowMenu(1);
  driver.click("copyPath");
  waitFor("the path", [&] { return driver.clipboard() == file.native(); });

  openRowMenu(0);
  driver.click("removeRow");
  waitFor("the removal", [&] { return model.files()->jobs()->count() == 1; });
  EXPECT_EQ(*model.files()->jobs()->jobs().front().url, file);
  click(*inRow(0, "remove"));
  waitFor("the removal", [&] { return model.files()->jobs()->count() == 0; });
  EXPECT_TRUE(std::filesystem::exists(file)) << "Removed from the list, not from the disk";
}

TEST_F(FilesMouseTest, WhatCannotBeUsedSaysWhy) {
  const auto expectTip = [&](const QString& name, const char* tip) {
    driver.moveTo(name);
    waitFor(std::string("\"") + tip + "\" on " + name.toStdString(), [&] { return itemWithText(tip) != nullptr; });
    driver.movePointer({1, 1});
    waitFor("the tip to go", [&] { return itemWithText(tip) == nullptr; });
  };
  expectTip("copyAll", "Select a file whose checksums are calculated.");
  expectTip("export", "There are no checksums to export yet.");
  expectTip("clear", "The list is empty.");

  add({endlessFile()});
  driver.click("calculate");
  waitFor("the run", [&] { return model.files()->isProcessing(); });
  expectTip("remove", "The list cannot change during a run.");
  expectTip("presets", "The selection cannot change during a run.");
  expectTip("algorithm MD5", "The selection cannot change during a run.");
}

}  // namespace

}  // namespace tallyfold::test

#include "FilesMouseTest.moc"

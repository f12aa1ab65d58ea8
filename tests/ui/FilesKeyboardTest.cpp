// The Files mode without a mouse.

#include <atomic>

#include <QAbstractFileIconProvider>
#include <QFileDialog>
#include <QFileInfo>

#include "tests/support/WatchedSystemCalls.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

constexpr std::string_view abc = "abc";

class FilesKeyboardTest : public WindowFixture {
 protected:
  // Pixels of the accent colour on and around the item with the focus that had another colour before.
  [[nodiscard]] int newAccentPixels(const QImage& before) const {
    const QImage now = window.grabWindow();
    const QQuickItem& item = *window.activeFocusItem();
    const QRect area = item.mapRectToScene(item.boundingRect()).toAlignedRect().adjusted(-6, -6, 6, 6) & now.rect();
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
      for (int x = area.left(); x <= area.right(); ++x) {
        if (now.pixelColor(x, y) == QColor(0x8AB4FF) && before.pixelColor(x, y) != QColor(0x8AB4FF)) ++count;
      }
    }
    return count;
  }

  void tabTo(const std::string& name) {
    std::string stops = "Tab does not reach " + name + ", but ";
    while (focusedName() != name) {
      stops.append(focusedName()).append(", ");
      if (stops.size() > 400) throw std::runtime_error(stops);
      tab({"Tab"});
    }
  }

  // Of a row without scrolling to it.
  [[nodiscard]] bool isWhole(int row) {
    QQuickItem* list = driver.item("jobList");
    QQuickItem* item = nullptr;
    QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, item), Q_ARG(int, row));
    return item != nullptr && list->boundingRect().contains(item->mapRectToItem(list, item->boundingRect()));
  }

  void tab(std::initializer_list<const char*> keys) {
    const QQuickItem* before = window.activeFocusItem();
    driver.press(keys);
    waitFor("the keyboard to move on from \"" + focusedName() + "\"",
            [&] { return window.activeFocusItem() != before; });
  }
};

TEST_F(FilesKeyboardTest, TabWalksThroughEveryControlInReadingOrderAndShowsWhereItIs) {
  add({"a", "b"}, abc);
  calculate();
  tabTo("Calculate");

  const QStringList order =
      QStringLiteral(
          "Files|Menu|Choose…|Presets|MD5|SHA-1|SHA-224|SHA-256|SHA-384|SHA-512|BLAKE3|CRC-32|All|a|Remove|"
          "Copy SHA-256|Copy BLAKE3|Copy all checksums|Export…|Clear|Calculate")
          .split(u'|');
  QStringList walked;
  while (walked.size() < order.size()) {
    const QImage before = window.grabWindow();
    tab({"Tab"});
    walked.append(QString::fromStdString(focusedName()));
    waitFor("a focus ring on " + focusedName(),
            [&] { return newAccentPixels(before) >= window.activeFocusItem()->width(); });
  }
  EXPECT_EQ(walked, order);

  tab({"Tab"});
  EXPECT_EQ(focusedName(), order.front().toStdString());

  // Backwards, the buttons of a row come after the row.
  for (auto name = order.rbegin(); name != order.rend(); ++name) {
    if (*name == u"a") continue;
    tab({"Shift_L", "Tab"});
    EXPECT_EQ(focusedName(), name->toStdString());
  }
  tabTo("a");
  tab({"Tab"});
  driver.press({"Down"});
  waitFor("the next row", [&] { return focusedName() == "b"; });
}

TEST_F(FilesKeyboardTest, AChoiceInThePanelIsNotTakenBeforeItIsConfirmed) {
  driver.press({"Control_L", "o"});
  waitFor("the panel", [] { return Driver::panel("openPanel") != nullptr; });
  QFileDialog& panel = *Driver::panel("openPanel");
  const auto kindOf = [&](const char* name, const char* content) {
    return panel.iconProvider()->type(QFileInfo(folder.file(name, content)));
  };
  EXPECT_EQ(kindOf("text", "abc"), kindOf("picture", "GIF89a")) << "The panel reads files";
  driver.focus(*panel.windowHandle());
  driver.press({"Escape"});
  waitFor("no panel", [] { return Driver::panel("openPanel") == nullptr; });
  driver.focus(window);
  EXPECT_EQ(model.files()->jobs()->count(), 0);
}

TEST_F(FilesKeyboardTest, SpaceAndReturnToggleAlgorithms) {
  add({"a"}, abc);
  for (const auto& [name, key] : {std::pair{"SHA-256", "Return"}, {"BLAKE3", "space"}, {"CRC-32", "space"}}) {
    tabTo(name);
    const bool isSelected = model.selectedAlgorithmNames().contains(name);
    driver.press({key});
    waitFor("a toggled chip", [&, name = name] { return model.selectedAlgorithmNames().contains(name) != isSelected; });
    if (model.selectedAlgorithms().empty()) driver.press({"Control_L", "Return"});
  }
  EXPECT_EQ(state(0), FileJobListModel::Queued) << "Without an algorithm there is nothing to start";
  calculate();
  driver.press({"Control_L", "c"});
  waitForClipboard("CRC-32: 352441c2");
}

TEST_F(FilesKeyboardTest, PresetsAreChosenWithArrows) {
  tabTo("Presets");
  const HashAlgorithmSet presets[] = {HashAlgorithm::recommended, HashAlgorithm::compatibility,
                                      HashAlgorithmSet::all()};
  for (const int preset : {2, 0, 1}) {
    driver.press({"space"});
    driver.usableItem("presetAll");
    for (int i = 0; i < preset; ++i) driver.press({"Down"});
    driver.press({"Return"});
    waitFor("the preset", [&] { return model.selectedAlgorithms() == presets[preset]; });
    waitFor("the keyboard to come back", [&] { return focusedName() == "Presets"; });
  }
}

TEST_F(FilesKeyboardTest, NamesAreFoundAsTheyAreTyped) {
  add({"read", "other", "Ready", "already"}, abc);
  add({endlessFile()});
  driver.press({"Control_L", "Return"});
  waitFor("the endless file", [&] { return state(4) == FileJobListModel::Hashing; });
  const auto expectRows = [&](int count, const char* what) {
    waitFor(what, [&] { return model.files()->jobs()->count() == count; });
  };
  driver.press({"Control_L", "f"});
  waitFor("the field", [&] { return focusedName() == "Find by name"; });
  for (const char* key : {"r", "e", "a", "d", "y"}) driver.press({key});
  expectRows(2, "what is found");
  EXPECT_EQ(find(QAccessible::EditableText, "Find by name")->text(QAccessible::Description), u"2 found");
  driver.press({"Return"});
  waitFor("a row", [&] { return focusedName() == "Ready"; });
  driver.click("filterWaiting");
  expectRows(0, "what is found of what waits");
  EXPECT_NE(itemWithText("No file that is shown has this in its name."), nullptr);
  driver.press({"Control_L", "f"});
  driver.press({"Escape"});
  expectRows(1, "what waits");
  EXPECT_EQ(driver.findItem("find"), nullptr);
  driver.press({"Control_L", "a"});
  waitFor("a selection", [&] { return model.files()->jobs()->markedCount() == 1; });
  driver.press({"Escape"});
  waitFor("no selection", [&] { return model.files()->jobs()->markedCount() == 0; });
  EXPECT_TRUE(model.files()->isProcessing()) << "The key was meant for the field, and for the selection";
  driver.press({"Escape"});
  waitFor("the end", [&] { return !model.files()->isProcessing(); });
}

TEST_F(FilesKeyboardTest, ArrowsMoveThroughTheListAndDeleteRemovesTheSelectedRow) {
  std::vector<std::string> names;
  for (int i = 10; i < 40; ++i) names.push_back("file" + std::to_string(i));
  add(names, abc);
  tabTo("file10");
  const auto expectAfter = [&](const char* key, const QString& name) {
    driver.press({key});
    waitFor(name.toStdString() + " after " + key, [&] { return selectedName() == name; });
  };
  expectAfter("Down", "file11");
  expectAfter("Down", "file12");
  expectAfter("Up", "file11");
  expectAfter("End", "file39");
  EXPECT_TRUE(QRectF(0, 0, 1, driver.item("jobList")->height())
                  .intersects(row(29)->mapRectToItem(driver.item("jobList"), row(29)->boundingRect())));
  expectAfter("Down", "file39");
  expectAfter("Home", "file10");
  expectAfter("Up", "file10");
  driver.press({"Next"});
  waitFor("the next page", [&] { return selectedName() > "file11"; });
  const QString farther = selectedName();
  expectAfter("Prior", "file10");
  EXPECT_LT(farther, "file30");
  expectAfter("Down", "file11");
  driver.press({"Menu"});
  driver.usableItem("copyPath");
  for (const char* key : {"Down", "Down", "Return"}) driver.press({key});
  waitForClipboard((folder.path() / "file11").string());
  expectAfter("Home", "file10");

  expectAfter("Delete", "file11");
  EXPECT_EQ(model.files()->jobs()->count(), 29);
  expectAfter("End", "file39");
  for (int last = 38; last >= 11; --last) expectAfter("Delete", QStringLiteral("file%1").arg(last));
  driver.press({"Delete"});
  waitFor("an empty list", [&] { return model.files()->jobs()->count() == 0; });
  driver.press({"Delete"});
  for (const char* key : {"c", "e"}) driver.press({"Control_L", key});
  EXPECT_EQ(driver.findItem("exportText"), nullptr) << "There is nothing to export";
  add({"again"}, abc);
  EXPECT_EQ(selectedName(), "again");
}

TEST_F(FilesKeyboardTest, TheRunningRowStaysInViewUntilTheUserScrolls) {
  constexpr int last = 20;
  std::vector<std::string> names;
  for (int i = 0; i < last; ++i) names.push_back("file" + std::to_string(i));
  add(names, abc);
  const fs::path large = folder.file("large.img", "");
  fs::resize_file(large, 16ULL << 30U);
  add({large});
  const RunStatus& status = *model.files()->runStatus();
  const auto fraction = [&] {
    return model.files()->jobs()->index(last).data(FileJobListModel::ProgressRole).toDouble();
  };
  driver.press({"Control_L", "Return"});
  waitFor("the last row", [&] { return status.figures().endsWith("left") && fraction() > 0.01 && isWhole(last); });

  const QQuickItem* bar = driver.item("overallProgress");
  EXPECT_EQ(bar->property("value").toDouble(), static_cast<double>(last) / (last + 1));
  const QQuickItem* lighter = bar->property("contentItem").value<QQuickItem*>()->childItems().first();
  EXPECT_NEAR(lighter->width() / bar->width(), (last + status.fraction()) / (last + 1), 1e-6);

  window.resize(window.minimumSize());
  const QQuickItem* figures = driver.item("runFigure");
  waitFor("the time left in little room", [&] {
    const QString words = figures->property("text").toString();
    return words != status.figures() && words.endsWith("left") && !figures->property("truncated").toBool();
  });
  waitFor("the last row", [&] { return isWhole(last); });

  constexpr unsigned wheelUp = 4;
  driver.clickAt(driver.item("jobList")->mapToGlobal(QPointF(50, 50)).toPoint(), wheelUp);
  waitFor("other rows", [&] { return !isWhole(last); });
  const QSignalSpy told(&status, &RunStatus::told);
  waitFor("the run to go on", [&] { return told.count() > 2; });
  EXPECT_FALSE(isWhole(last)) << "The user looks elsewhere";
  driver.press({"Escape"});
  waitFor("the end", [&] { return !model.files()->isProcessing(); });
}

TEST_F(FilesKeyboardTest, ARunThatIsFollowedIsFollowedToItsEnd) {
  constexpr int held = 20;
  constexpr int last = 39;
  std::vector<std::string> names;
  for (int i = 0; i <= last; ++i) names.push_back("file" + std::to_string(i));
  add(names, abc);
  {
    WatchedSystemCalls system;
    std::atomic<bool> isSeen = false;
    system.before = [&, opened = 0](std::string_view name, std::size_t) mutable {
      if (name == "open" && opened++ == held) isSeen.wait(false);
      return 0;
    };
    driver.press({"Control_L", "Return"});
    waitFor("the row under way", [&] { return isWhole(held); });
    isSeen = true;
    isSeen.notify_all();
    waitFor("the end", [&] { return !model.files()->isProcessing(); });
    EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
  }
  waitFor("the last row", [&] { return isWhole(last); });
}

TEST_F(FilesKeyboardTest, SeveralRowsAreCopiedAndRemovedAtOnce) {
  model.setSelectedAlgorithms({HashAlgorithm::crc32});
  add({"a", "b", "c", "d", "e", "f"}, abc);
  calculate();
  tabTo("a");
  const auto waitForSelected = [&](const QString& wanted) {
    QString told;
    waitFor("the selection of " + wanted.toStdString(), [&] {
      told.clear();
      for (int i = 0; i < model.files()->jobs()->count(); ++i) {
        const QAccessibleInterface* face = QAccessible::queryAccessibleInterface(row(i));
        if (face->state().selected) told += face->text(QAccessible::Name).at(0);
      }
      return told == wanted;
    });
  };
  const auto clickWith = [&](const char* key, int index) {
    const QPoint place = inRow(index, "name")->mapToGlobal(QPointF(2, 2)).toPoint();
    driver.press({key}, [&] { driver.clickAt(place); });
  };
  for (int i = 0; i < 3; ++i) driver.press({"Shift_L", "Down"});
  driver.press({"Shift_L", "Up"});
  waitForSelected("abc");
  driver.press({"Control_L", "c"});
  std::string lines;
  for (const char* name : {"a", "b", "c"}) {
    lines += (lines.empty() ? "CRC-32  352441c2  " : "\nCRC-32  352441c2  ") + (folder.path() / name).string();
  }
  waitForClipboard(lines);
  driver.press({"Escape"});
  waitForSelected("c");
  driver.press({"Shift_L", "End"});
  waitForSelected("cdef");
  clickWith("Control_L", 3);
  waitForSelected("cef");
  driver.press({"Down"});
  waitForSelected("e");
  clickWith("Control_L", 2);
  waitForSelected("ce");
  driver.press({"Delete"});
  waitForSelected("d");
  clickWith("Shift_L", 0);
  waitForSelected("abd");
  driver.clickAt(inRow(3, "name")->mapToGlobal(QPointF(2, 2)).toPoint(), 3);
  driver.click("removeRow");
  waitForSelected("d");
  driver.press({"Control_L", "a"});
  waitForSelected("abd");
  driver.press({"Delete"});
  waitFor("an empty list", [&] { return model.files()->jobs()->count() == 0; });
}

TEST_F(FilesKeyboardTest, KeysReachNothingBehindAnAlertThatGoesWithItsMessage) {
  add({"first"}, abc);
  for (const AppMode::Case mode : {AppMode::Files, AppMode::Manifest}) {
    model.setMode(mode);
    for (const char* message : {"One thing failed.", "Another thing failed."}) {
      model.setErrorMessage(message);
      EXPECT_EQ(driver.usableItem("alertMessage")->property("text"), message);
      find(QAccessible::AlertMessage, std::string("Error: ") + message);
    }
    EXPECT_EQ(itemWithText("One thing failed."), nullptr);
    driver.press({"Delete"});
    for (const char* key : {"2", "o", "e", "c"}) driver.press({"Control_L", key});
    driver.press({"Control_L", "Shift_L", "o"});
    waitFor("the keyboard on OK", [&] { return focusedName() == "OK"; });
    driver.press({"Return"});
    waitForNo("alertOk");
    EXPECT_EQ(model.errorMessage(), "");
    EXPECT_EQ(model.files()->jobs()->count(), 1);
    EXPECT_EQ(state(0), FileJobListModel::Queued);
    EXPECT_EQ(model.mode(), mode);
    EXPECT_EQ(Driver::panel("openPanel"), nullptr);
    model.setErrorMessage("Again.");
    mode == AppMode::Files ? model.setErrorMessage("") : driver.click("alertOk");
    waitForNo("alertOk");
  }
}

}  // namespace

}  // namespace tallyfold::test

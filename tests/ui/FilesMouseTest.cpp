// The Files mode with the mouse, and what its rows show and tell.

#include <QDBusConnection>
#include <QGuiApplication>

#include "tests/ui/WindowFixture.h"
#include "ui/desktop/ApplicationOnBus.h"

namespace tallyfold::test {

/// Stands in for the desktop's file browser, on the session bus.
class FileBrowser : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

 public:
  QStringList shown;

  Q_SLOT void ShowItems(const QStringList& items, const QString&) { shown = items; }
};

/// Stands in for the desktop's notifications.
class NotificationService : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

 public:
  QStringList shown;  ///< Since the last one was closed.
  QString entry;      ///< Of the menu: whose notifications they are.

  Q_SLOT uint Notify(const QString&, uint, const QString&, const QString& title, const QString& body,
                     const QStringList&, const QVariantMap& hints, int) {
    entry = hints.value(QStringLiteral("desktop-entry")).toString();
    shown.append(body + QStringLiteral(": ") + title);
    return 7;
  }
  Q_SLOT void CloseNotification(uint id) {
    if (id == 7) shown.clear();
  }
  Q_SIGNAL void ActionInvoked(uint id, const QString& action);
};

namespace {

constexpr std::string_view abc = "abc";
const std::string sha256OfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

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

  QColor colorOf(const QString& text) { return itemWithText(text)->property("color").value<QColor>(); }

  std::vector<std::string> rowNames() {
    std::vector<std::string> names;
    for (QAccessibleInterface* face : below(find(QAccessible::List, "Files"))) {
      if (face->role() == QAccessible::ListItem) names.push_back(name(face));
    }
    return names;
  }
};

TEST_F(FilesMouseTest, ChipsChangeTheSelectionAndSayWhetherTheyAreSelected) {
  for (const QString& algorithm : AppViewModel::algorithmNames()) {
    QAccessibleInterface* chip = find(QAccessible::CheckBox, algorithm.toStdString());
    EXPECT_TRUE(chip->state().checkable);
    EXPECT_EQ(chip->state().checked, algorithm == "SHA-256" || algorithm == "BLAKE3") << algorithm.toStdString();
  }
  QAccessibleInterface* chip = find(QAccessible::CheckBox, "CRC-32");
  driver.click("algorithm SHA-256");
  driver.click("algorithm CRC-32");
  waitFor("the chips", [&] { return model.selectedAlgorithmNames() == QStringList{"BLAKE3", "CRC-32"}; });
  EXPECT_TRUE(chip->state().checked);
  model.setAlgorithmSelected("CRC-32", false);
  EXPECT_FALSE(chip->state().checked) << "A clicked chip still follows";
  chip->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
  EXPECT_TRUE(model.selectedAlgorithms().contains(HashAlgorithm::crc32));
  press(chip);
  EXPECT_FALSE(chip->state().checked);
}

TEST_F(FilesMouseTest, EveryStateIsToldByWordsAndColour) {
  // A test clicks twice in less time than a person who means two clicks.
  const DoubleClickInterval doubleClick(1);
  add({folder.file("done", std::string(4'200'000, 'x')), folder.path() / "vanished", endlessFile(),
       folder.file("waiting", "")});
  driver.click("calculate");
  waitFor("the endless file", [&] { return state(2) == FileJobListModel::Hashing; });
  const QColor red(0xFF8A8A);
  const QColor green(0x5FDC94);
  EXPECT_EQ(colorOf("No such file or directory"), red);
  EXPECT_EQ(inRow(1, "status")->property("color").value<QColor>(), red);
  EXPECT_EQ(inRow(0, "status")->property("color").value<QColor>(), green);
  EXPECT_NE(colorOf("Queued"), green);
  EXPECT_EQ(model.errorMessage(), "") << "The failure of a file is told in its row";

  waitFor("the rows", [&] { return rowNames().size() == 4; });
  const std::string facts = "4\\.2 MB · ([0-9]+ ms|[0-9]+\\.[0-9][0-9] s) · [0-9.]+ [KMG]B/s";
  EXPECT_THAT(rowNames(),
              ElementsAre(testing::MatchesRegex("done, Done, " + facts), "vanished, Failed, No such file or directory",
                          "endless.img, Hashing", "waiting, Queued"));
  EXPECT_NE(itemWithText(" · " + model.files()->jobs()->index(0).data(FileJobListModel::FactsRole).toString()),
            nullptr);
  EXPECT_EQ(find(QAccessible::ProgressBar, "All files")->text(QAccessible::Description), u"50%");
  find(QAccessible::ProgressBar, "endless.img");
  const QString digest = inRow(0, "digest SHA-256")->property("text").toString();
  EXPECT_EQ(digest.size(), 64);
  find(QAccessible::StaticText, "SHA-256 " + digest.toStdString());
  find(QAccessible::ListItem, "Files, working");
  EXPECT_EQ(itemWithText("Calculate"), nullptr);

  // What cannot be used says why, and is not used.
  for (const char* refused : {"Delete", "Return", "o"}) driver.press({"Control_L", refused});
  driver.press({"Delete"});
  for (const auto& [button, refusal] : {std::pair{"Presets", "The selection cannot change during a run."},
                                        {"Remove", "The list cannot change during a run."},
                                        {"Export…", "Reports can be saved when the run has ended."}}) {
    EXPECT_EQ(find(QAccessible::Button, button)->text(QAccessible::Description), refusal);
  }
  driver.moveTo("algorithm MD5");
  waitFor("the tip", [&] { return itemWithText("The selection cannot change during a run.") != nullptr; });
  driver.click("algorithm MD5");
  driver.click("presets");
  click(*inRow(0, "remove"));
  openRowMenu(0);
  driver.click("removeRow");
  driver.press({"Escape"});
  waitForNo("copyPath");
  EXPECT_TRUE(model.files()->isProcessing()) << "The key closed the menu, and nothing else";
  EXPECT_EQ(driver.findItem("presetAll"), nullptr);
  EXPECT_EQ(Driver::panel("openPanel"), nullptr);
  EXPECT_EQ(model.files()->jobs()->count(), 4);
  EXPECT_TRUE(model.selectedAlgorithms() == HashAlgorithm::recommended);

  press(find(QAccessible::Button, "Cancel"));
  waitFor("the end of the run", [&] { return !model.files()->isProcessing(); });
  EXPECT_EQ(rowNames().at(2), "endless.img, Queued");
  press(find(QAccessible::ListItem, "waiting, Queued"));
  EXPECT_EQ(selectedName(), "waiting");
  press(below(find(QAccessible::ListItem, "waiting, Queued")).at(1));
  EXPECT_EQ(model.files()->jobs()->count(), 3) << "Its first part is the button that removes it";

  driver.click("calculate");
  waitFor("the endless file", [&] { return state(2) == FileJobListModel::Hashing; });
  driver.click("clear");
  waitFor("an empty list", [&] { return model.files()->jobs()->count() == 0 && !model.files()->isProcessing(); });
  EXPECT_NE(driver.findItem("emptyList"), nullptr);
}

TEST_F(FilesMouseTest, SelectedDigitsAreCopiedWithoutTheGapsThatTheEyeSees) {
  add({"first"}, abc);
  model.setAlgorithmSelected("SHA-512", true);
  calculate();
  QQuickItem* sha256 = digest(0, "SHA-256");
  driver.clickAt(digit(sha256, 20));
  waitFor("the keyboard in the text", [&] { return sha256->hasActiveFocus(); });
  driver.press({"Control_L", "c"});
  waitFor("all checksums", [&] { return driver.clipboard().starts_with("SHA-256: " + sha256OfAbc + "\nSHA-512: "); });
  driver.press({"Control_L", "2"});
  waitFor("another mode", [&] { return model.mode() == AppMode::Text; });
  driver.press({"Control_L", "1"});
  waitFor("this mode", [&] { return model.mode() == AppMode::Files; });

  driver.clickAt(digit(sha256, 20));
  driver.clickAt(digit(sha256, 20));
  waitFor("a whole digest", [&] { return sha256->property("selectedText").toString().size() == 64; });
  driver.press({"Control_L", "c"});
  waitForClipboard(sha256OfAbc);

  // From one line into the next, of a digest that takes two.
  QQuickItem* sha512 = digest(0, "SHA-512");
  const QPoint from = digit(sha512, 60);
  const QPoint to = digit(sha512, 68);
  EXPECT_LT(from.y(), to.y());
  driver.drag(from, to);
  waitFor("eight digits", [&] { return sha512->property("selectedText").toString().size() == 8; });
  EXPECT_EQ(sha256->property("selectedText").toString(), "") << "Only one selection at a time";
  const std::string eight(model.files()->results().front()->hashes.find(HashAlgorithm::sha512).value().substr(60, 8));
  driver.press({"Control_L", "c"});
  waitForClipboard(eight);

  openRowMenu(0);
  driver.click("copyChecksums");
  waitFor("all checksums", [&] { return driver.clipboard().starts_with("SHA-256: "); });
  driver.drag(from, to);
  driver.clickAt(to, 3);
  driver.usableItem("copySelected");
  EXPECT_EQ(driver.findItem("copyPath"), nullptr) << "The menu of the row";
  driver.click("copySelected");
  waitForClipboard(eight);
  EXPECT_EQ(sha512->property("selectedText").toString().toStdString(), eight);
}

TEST_F(FilesMouseTest, TheEndOfARunIsToldBehindAnotherWindow) {
  auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "notifications");
  NotificationService service;
  ASSERT_TRUE(bus.registerObject("/org/freedesktop/Notifications", &service, QDBusConnection::ExportAllContents));
  ASSERT_TRUE(bus.registerService("org.freedesktop.Notifications"));
  add({folder.file("a", abc), "/nowhere"});
  calculate();
  EXPECT_EQ(find(QAccessible::AlertMessage, "1 of 2 calculated, 1 failed")->state().invisible, 0U);
  driver.click("filterDone");
  driver.click("firstFailure");
  waitFor("the failure", [&] { return focusedName() == "nowhere" && selectedName() == "nowhere"; });
  {
    QWindow other;
    other.show();
    driver.focus(other);
  }
  waitFor("no window in front", [] { return QGuiApplication::focusWindow() == nullptr; });
  model.files()->startProcessing();
  waitFor("a notification", [&] { return !service.shown.isEmpty(); });
  EXPECT_THAT(service.shown, ElementsAre(QStringLiteral("Files: 1 of 2 calculated, 1 failed"))) << "and none before";
  EXPECT_EQ(service.entry, ApplicationOnBus::name);
  driver.focus(window);
  waitFor("no notification", [&] { return service.shown.isEmpty(); });
}

TEST_F(FilesMouseTest, TheMenuAndTheButtonsOfARowActOnIt) {
  auto bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "file browser");
  FileBrowser browser;
  ASSERT_TRUE(bus.registerObject("/org/freedesktop/FileManager1", &browser, QDBusConnection::ExportAllSlots));
  ASSERT_TRUE(bus.registerService("org.freedesktop.FileManager1"));
  const auto file = folder.file("50% of \xFF\n", abc);
  add({"first"}, "");
  add({file});
  model.choosePreset(AppViewModel::Compatibility);
  calculate();
  click(*inRow(1, "copy MD5"));
  waitForClipboard("900150983cd24fb0d6963f7d28e17f72");

  openRowMenu(1);
  driver.click("reveal");
  waitFor("the file browser", [&] { return !browser.shown.isEmpty(); });
  EXPECT_THAT(browser.shown, ElementsAre(fileUrl(file).toString(QUrl::FullyEncoded)));
  EXPECT_EQ(fileLocation(QUrl(browser.shown.value(0))), file);

  openRowMenu(1);
  driver.click("copyPath");
  waitForClipboard(file.native());

  driver.click("copyAll");
  const auto isConfirmed = [&] {
    return find(QAccessible::Button, "Copy all checksums")->text(QAccessible::Description) == "Copied";
  };
  waitFor("the tick", isConfirmed);
  waitFor("its end", [&] { return !isConfirmed(); });

  model.files()->exportResults(FilesFlow::Text);
  driver.answerPanel("savePanel", folder.path() / "report.txt");
  driver.click("noticeAction");
  find(QAccessible::AlertMessage, "Saved to " + (folder.path() / "report.txt").string());
  waitFor("the file browser", [&] { return browser.shown.value(0).endsWith("report.txt"); });
  driver.click("clear");
  waitFor("an empty list", [&] { return model.files()->jobs()->count() == 0; });
  driver.press({"Control_L", "z"});
  waitFor("the list", [&] { return model.files()->jobs()->count() == 2; });

  openRowMenu(0);
  driver.click("removeRow");
  waitFor("the removal", [&] { return model.files()->jobs()->count() == 1; });
  EXPECT_EQ(*model.files()->jobs()->jobs().front().url, file);
  click(*inRow(0, "remove"));
  waitFor("the removal", [&] { return model.files()->jobs()->count() == 0; });
  EXPECT_TRUE(fs::exists(file)) << "Removed from the list, not from the disk";
}

TEST_F(FilesMouseTest, EveryFileNameIsShownOnOneLineInsideItsRow) {
  const std::vector<std::pair<std::string, QString>> names = {
      {"two\nlines", "two<U+000A>lines"},
      {"<b>bold &amp; <img src='x'>", "<b>bold &amp; <img src='x'>"},
      {std::string(251, 'W') + ".txt", QString(251, u'W') + ".txt"},
  };
  for (const auto& [name, shown] : names) add({name}, abc);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto index = static_cast<int>(i);
    const QQuickItem* name = inRow(index, "name");
    EXPECT_EQ(name->property("text").toString(), names[i].second);
    EXPECT_EQ(name->property("lineCount").toInt(), 1);
    EXPECT_LE(name->property("contentWidth").toReal(), name->width());
    EXPECT_TRUE(row(index)->boundingRect().contains(name->mapRectToItem(row(index), name->boundingRect())));
    if (names[i].first.size() < 200) continue;
    driver.moveTo(name->mapToGlobal(QPointF(9, 9)).toPoint());
    waitFor("the whole name", [&] {
      return std::ranges::any_of(visibleItems(window.contentItem()), [&](const QQuickItem* item) {
        return item->property("text") == names[i].second && item->property("lineCount").toInt() > 1;
      });
    });
  }
}

}  // namespace

}  // namespace tallyfold::test

#include "FilesMouseTest.moc"

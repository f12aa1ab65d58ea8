// The window as a screen reader meets it: the accessibility tree, in every state of the screen.

#include <gmock/gmock.h>
#include <map>

#include <QAccessible>

#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

class AccessibilityTest : public WindowFixture {
 protected:
  static std::string name(QAccessibleInterface* face) { return face->text(QAccessible::Name).toStdString(); }

  static void press(QAccessibleInterface* face) {
    ASSERT_NE(face->actionInterface(), nullptr);
    EXPECT_TRUE(face->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
    face->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  }

  // Progress bars of this toolkit have no value of their own for a screen reader.
  static std::string value(QAccessibleInterface* face) { return face->text(QAccessible::Description).toStdString(); }

  static void collect(QAccessibleInterface* face, std::vector<QAccessibleInterface*>& all) {
    if (face == nullptr || !face->isValid() || face->state().invisible) return;
    all.push_back(face);
    for (int i = 0; i < face->childCount(); ++i) collect(face->child(i), all);
  }

  static std::vector<QAccessibleInterface*> below(QAccessibleInterface* face) {
    std::vector<QAccessibleInterface*> all;
    collect(face, all);
    return all;
  }

  std::vector<QAccessibleInterface*> tree() { return below(QAccessible::queryAccessibleInterface(&window)); }

  QAccessibleInterface* find(QAccessible::Role role, const std::string& wanted) {
    for (QAccessibleInterface* face : tree()) {
      if (face->role() == role && name(face) == wanted) return face;
    }
    throw std::runtime_error("Nobody is told of " + wanted);
  }

  static bool isAction(QAccessibleInterface* face) {
    static const std::vector<QAccessible::Role> roles = {QAccessible::Button, QAccessible::CheckBox,
                                                         QAccessible::MenuItem, QAccessible::Link};
    return std::find(roles.begin(), roles.end(), face->role()) != roles.end();
  }

  static bool isInRow(QAccessibleInterface* face) {
    for (; face != nullptr; face = face->parent()) {
      if (face->role() == QAccessible::ListItem) return true;
    }
    return false;
  }

  // What must hold of every state of the window.
  void expectSound() {
    std::map<std::string, int> actions;
    for (QAccessibleInterface* face : tree()) {
      SCOPED_TRACE(face->object() == nullptr ? "" : face->object()->metaObject()->className());
      if (isAction(face) || (face->state().focusable && face->role() != QAccessible::StaticText)) {
        EXPECT_FALSE(name(face).empty());
        EXPECT_NE(face->role(), QAccessible::NoRole);
        EXPECT_NE(face->role(), QAccessible::Client);
      }
      if (isAction(face) && !isInRow(face)) ++actions[name(face)];
      if (face->role() == QAccessible::ListItem) {
        EXPECT_FALSE(name(face).empty());
        std::vector<std::string> inRow;
        for (QAccessibleInterface* part : below(face)) {
          if (isAction(part)) inRow.push_back(name(part));
        }
        std::sort(inRow.begin(), inRow.end());
        EXPECT_EQ(std::adjacent_find(inRow.begin(), inRow.end()), inRow.end()) << testing::PrintToString(inRow);
      }
      if (face->role() == QAccessible::ProgressBar) {
        EXPECT_FALSE(name(face).empty());
        EXPECT_THAT(value(face), testing::ContainsRegex("^[0-9]+%$"));
      }
    }
    for (const auto& [action, count] : actions) EXPECT_EQ(count, 1) << action;
    for (QQuickItem* item : visibleItems(window.contentItem())) {
      if (!item->activeFocusOnTab()) continue;
      QAccessibleInterface* face = QAccessible::queryAccessibleInterface(item);
      ASSERT_NE(face, nullptr) << item->metaObject()->className();
      EXPECT_FALSE(name(face).empty()) << item->metaObject()->className();
    }
  }

  std::vector<std::string> rowNames() {
    std::vector<std::string> names;
    for (QAccessibleInterface* face : below(find(QAccessible::List, "Files"))) {
      if (face->role() == QAccessible::ListItem) names.push_back(name(face));
    }
    return names;
  }
};

TEST_F(AccessibilityTest, AnEmptyWindowNamesWhatCanBeDone) {
  expectSound();
  for (const char* button : {"Menu", "Choose Files…", "Presets", "Copy all checksums", "Export…", "Clear", "Calculate"})
    find(QAccessible::Button, button);
  for (const char* mode : {"Files", "Text", "Verify", "Manifest", "Compare"}) {
    EXPECT_EQ(find(QAccessible::ListItem, mode)->state().selected, mode == std::string("Files")) << mode;
  }
  find(QAccessible::Heading, "File Hashing");
  find(QAccessible::Heading, "Algorithms");
  find(QAccessible::StaticText, "Calculate multiple checksums in a single local file pass.");
  find(QAccessible::StaticText, "All selected algorithms are calculated in one file pass.");
  QAccessibleInterface* calculate = find(QAccessible::Button, "Calculate");
  EXPECT_EQ(calculate->text(QAccessible::Description), "Add files first.");
}

TEST_F(AccessibilityTest, AlgorithmsSayWhetherTheyAreSelectedAndCanBeToggled) {
  for (const QString& algorithm : AppViewModel::algorithmNames()) {
    QAccessibleInterface* chip = find(QAccessible::CheckBox, algorithm.toStdString());
    EXPECT_TRUE(chip->state().checkable);
    EXPECT_EQ(chip->state().checked, algorithm == "SHA-256" || algorithm == "BLAKE3") << algorithm.toStdString();
  }
  QAccessibleInterface* chip = find(QAccessible::CheckBox, "MD5");
  ASSERT_NE(chip->actionInterface(), nullptr);
  chip->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
  EXPECT_TRUE(model.selectedAlgorithms().contains(HashAlgorithm::md5));
  EXPECT_TRUE(chip->state().checked);
  press(chip);
  EXPECT_FALSE(chip->state().checked);
}

TEST_F(AccessibilityTest, RowsSayTheirNameAndTheirState) {
  add({folder.file("done", "abc"), folder.path() / "vanished", endlessFile(), folder.file("waiting", "")});
  press(find(QAccessible::Button, "Calculate"));
  waitFor("the endless file", [&] { return state(2) == FileJobListModel::Hashing; });
  row(3);
  waitFor("the rows", [&] { return rowNames().size() == 4; });
  expectSound();
  EXPECT_THAT(rowNames(), testing::ElementsAre(testing::StartsWith("done, Done, 3 bytes · "),
                                               "vanished, Failed, No such file or directory", "endless.img, Hashing",
                                               "waiting, Queued"));
  EXPECT_EQ(value(find(QAccessible::ProgressBar, "All files")), "50%");
  find(QAccessible::ProgressBar, "endless.img");
  find(QAccessible::Button, "Cancel");
  find(QAccessible::Button, "Copy BLAKE3");
  find(QAccessible::StaticText, "SHA-256 ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  find(QAccessible::ListItem, "Files, working");

  press(find(QAccessible::Button, "Cancel"));
  waitFor("the end of the run", [&] { return !model.files()->isProcessing(); });
  EXPECT_EQ(rowNames().at(2), "endless.img, Queued");
  press(find(QAccessible::ListItem, "waiting, Queued"));
  EXPECT_EQ(selectedName(), "waiting");
  press(below(find(QAccessible::ListItem, "waiting, Queued")).at(1));
  EXPECT_EQ(model.files()->jobs()->count(), 3) << "Its first part is the button that removes it";
}

TEST_F(AccessibilityTest, MenusAndTheAlertAreThereWhileTheyAreOpen) {
  driver.click("presets");
  driver.usableItem("presetAll");
  expectSound();
  find(QAccessible::MenuItem, "Recommended — BLAKE3 + SHA-256");
  find(QAccessible::MenuItem, "Compatibility — MD5 + SHA-1 + SHA-256");
  press(find(QAccessible::MenuItem, "All algorithms"));
  waitFor("the menu to close", [&] { return driver.findItem("presetAll") == nullptr; });
  EXPECT_TRUE(model.selectedAlgorithms() == HashAlgorithmSet::all());

  add({"file"}, "abc");
  driver.clickAt(inRow(0, "name")->mapToGlobal(QPointF(5, 5)).toPoint(), 3);
  driver.usableItem("copyPath");
  for (const char* item : {"Reveal in Finder", "Copy path", "Remove"}) find(QAccessible::MenuItem, item);
  driver.press({"Escape"});
  waitFor("the menu to close", [&] { return driver.findItem("copyPath") == nullptr; });

  driver.click("applicationMenu");
  driver.usableItem("quitItem");
  find(QAccessible::MenuItem, "Settings…");
  find(QAccessible::MenuItem, "Quit");
  driver.press({"Escape"});
  waitFor("the menu to close", [&] { return driver.findItem("quitItem") == nullptr; });

  model.setErrorMessage("Something failed.");
  driver.usableItem("alertOk");
  find(QAccessible::AlertMessage, "Error: Something failed.");
  find(QAccessible::Button, "OK");
  model.setErrorMessage({});

  for (const AppMode::Case mode : AppMode::allCases()) {
    press(find(QAccessible::ListItem, AppMode::rawValue(mode).toStdString()));
    EXPECT_EQ(model.mode(), mode);
    expectSound();
  }
}

TEST_F(AccessibilityTest, EntriesOfAListAreToldWithTheirStates) {
  const std::string md5OfAbc = "900150983cd24fb0d6963f7d28e17f72";
  const std::string zero(32, '0');
  folder.file("abc", "abc");
  model.setMode(AppMode::Manifest);
  model.manifest()->setManifestRoot({QUrl::fromLocalFile(QString::fromStdString(folder.path()))});
  model.manifest()->setManifestFile({QUrl::fromLocalFile(
      QString::fromStdString(folder.file("list", md5OfAbc + "  abc\n" + zero + "  abc\n" + zero + "  missing\n?\n")))});
  waitFor("the list", [&] { return model.manifest()->manifestRefusal().isEmpty(); });
  model.manifest()->verifyManifest();
  waitFor("the end", [&] { return !model.manifest()->isManifestVerifying() && driver.findItem("message") != nullptr; });
  expectSound();
  find(QAccessible::Grouping, "Checksum list: list");
  find(QAccessible::AlertMessage, "1 entry does not match, 1 could not be checked");
  find(QAccessible::ListItem, "Line 1, abc, MD5, Match");
  find(QAccessible::ListItem, "Line 2, abc, MD5, Mismatch. Actual: " + md5OfAbc);
  press(find(QAccessible::RadioButton, "Failed, 1"));
  waitFor("the failure", [&] { return model.manifest()->manifestJobs()->count() == 1; });
  find(QAccessible::ListItem, "Line 3, missing, MD5, No such file or directory");
  press(find(QAccessible::RadioButton, "Warnings, 1"));
  waitFor("the warnings", [&] { return driver.findItem("manifestWarnings") != nullptr; });
  find(QAccessible::ListItem, "Line 4: unsupported checksum format.");
  expectSound();
  model.manifest()->clearManifest();
}

}  // namespace

}  // namespace tallyfold::test

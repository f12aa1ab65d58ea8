#include "tests/ui/WindowFixture.h"

#include <map>

namespace tallyfold::test {

namespace {

QQuickItem* named(QQuickItem* root, const QString& objectName) {
  for (QQuickItem* item : visibleItems(root)) {
    if (item->objectName() == objectName) return item;
  }
  return nullptr;
}

std::vector<std::string> warnings;  // Since the last test; of the interface thread.

void note(QtMsgType type, const QMessageLogContext&, const QString& message) {
  std::cerr << message.toStdString() << std::endl;
  if (type != QtDebugMsg && type != QtInfoMsg) warnings.push_back(message.toStdString());
}

bool isAction(QAccessibleInterface* face) {
  const auto role = face->role();
  return role == QAccessible::Button || role == QAccessible::CheckBox || role == QAccessible::MenuItem ||
         role == QAccessible::Link;
}

// Null outside the rows of lists.
QAccessibleInterface* rowOf(QAccessibleInterface* face) {
  while (face != nullptr && face->role() != QAccessible::ListItem) face = face->parent();
  return face;
}

}  // namespace

std::vector<QQuickItem*> visibleItems(QQuickItem* root) {
  std::vector<QQuickItem*> items;
  if (!root->isVisible() || qFuzzyIsNull(root->opacity())) return items;
  items.push_back(root);
  for (QQuickItem* child : root->childItems()) {
    const auto below = visibleItems(child);
    items.insert(items.end(), below.begin(), below.end());
  }
  return items;
}

void WindowFixture::SetUp() {
  model.setErrorMessage({});
  model.verify()->resetVerification();
  model.verify()->setExpectedHash({});
  model.verify()->setVerifyAlgorithm(QStringLiteral("Auto"));
  model.compare()->resetComparison();
  model.manifest()->clearManifest();
  model.manifest()->dismissCleared();
  model.files()->clearFiles();
  model.files()->dismissNotice();
  waitFor("the last run to end", [&] { return !model.files()->isProcessing() && !model.files()->isExporting(); });
  model.choosePreset(AppViewModel::Recommended);
  model.setMode(AppMode::Files);
  // Rows that come before it has seen the last ones go would be selected like rows among others.
  waitForNo("jobList");
  window.resize(1000, 680);
  driver.movePointer({1, 1});
  driver.focus(window);
  window.contentItem()->forceActiveFocus();
}

void WindowFixture::TearDown() {
  expectSound();
  for (const std::string& warning : std::exchange(warnings, {})) ADD_FAILURE() << warning;
  if (HasFailure()) keepScreenshot();
  // A panel that a test left open may keep the next one's window from the keyboard.
  for (QWindow* other : QGuiApplication::topLevelWindows()) {
    if (other != &window) other->close();
  }
  model.shutdown();
}

void WindowFixture::keepScreenshot() {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  const fs::path picture =
      fs::path(SCREENSHOT_FOLDER) / (std::string(test->test_suite_name()) + "." + test->name() + ".png");
  fs::create_directories(picture.parent_path());
  driver.screenshot(picture);
  std::cout << "The screen is kept in " << picture << "\n";
}

void WindowFixture::add(const std::vector<fs::path>& files) {
  QList<QUrl> urls;
  for (const fs::path& file : files) urls.append(fileUrl(file));
  model.files()->addFiles(urls);
}

void WindowFixture::add(const std::vector<std::string>& names, std::string_view content) {
  std::vector<fs::path> files;
  for (const std::string& name : names) files.push_back(folder.file(name, content));
  add(files);
}

void WindowFixture::enter(AppMode::Case mode) {
  driver.press({"Control_L", std::to_string(mode + 1).c_str()});
  waitFor("the mode", [&] { return model.mode() == mode; });
}

void WindowFixture::waitForClipboard(const std::string& text) {
  waitFor(text + " on the clipboard", [&] { return driver.clipboard() == text; });
}

void WindowFixture::waitForNo(const QString& objectName) {
  waitFor("no " + objectName.toStdString(), [&] { return driver.findItem(objectName) == nullptr; });
}

void WindowFixture::calculate() {
  driver.press({"Control_L", "Return"});
  waitFor("the run to start", [&] { return model.files()->isProcessing() || model.files()->overallProgress() > 0; });
  waitFor("the run to end", [&] { return !model.files()->isProcessing(); });
}

fs::path WindowFixture::endlessFile() {
  fs::path file = folder.file("endless.img", "");
  fs::resize_file(file, 256ULL << 30U);
  return file;
}

QQuickItem* WindowFixture::row(int index) {
  QQuickItem* found = nullptr;
  waitFor("row " + std::to_string(index), [&] {
    QQuickItem* list = driver.item(QStringLiteral("jobList"));
    QMetaObject::invokeMethod(list, "forceLayout");
    // Scrolled into view only where it is outside.
    constexpr int contain = 4;  // ListView.Contain
    QMetaObject::invokeMethod(list, "positionViewAtIndex", Q_ARG(int, index), Q_ARG(int, contain));
    QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem*, found), Q_ARG(int, index));
    return found != nullptr;
  });
  return found;
}

QQuickItem* WindowFixture::inRow(int index, const QString& objectName) {
  QQuickItem* found = nullptr;
  Driver::waitForRest(objectName.toStdString() + " in row " + std::to_string(index), [&] {
    found = named(row(index), objectName);
    return found == nullptr ? std::nullopt : std::optional(found->mapToGlobal(QPointF()));
  });
  return found;
}

QString WindowFixture::selectedName() const {
  const int index = driver.item(QStringLiteral("jobList"))->property("currentIndex").toInt();
  return model.files()->jobs()->index(index).data(FileJobListModel::NameRole).toString();
}

FileJobListModel::State WindowFixture::state(int index) const {
  return model.files()->jobs()->index(index).data(FileJobListModel::StateRole).value<FileJobListModel::State>();
}

std::string WindowFixture::focusedName() const {
  QQuickItem* item = window.activeFocusItem();
  QAccessibleInterface* face = item == nullptr ? nullptr : QAccessible::queryAccessibleInterface(item);
  return face == nullptr ? std::string() : name(face).substr(0, name(face).find(','));
}

std::vector<QAccessibleInterface*> WindowFixture::below(QAccessibleInterface* face) {
  if (face == nullptr || !face->isValid() || face->state().invisible) return {};
  std::vector<QAccessibleInterface*> all{face};
  for (int i = 0; i < face->childCount(); ++i) {
    const auto more = below(face->child(i));
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

QAccessibleInterface* WindowFixture::find(QAccessible::Role role, const std::string& wanted) {
  for (QWindow* each : QGuiApplication::topLevelWindows()) {
    if (!each->isVisible() || !each->inherits("QQuickWindow")) continue;
    for (QAccessibleInterface* face : below(QAccessible::queryAccessibleInterface(each))) {
      if (face->role() == role && name(face) == wanted) return face;
    }
  }
  throw std::runtime_error("Nobody is told of " + wanted);
}

void WindowFixture::press(QAccessibleInterface* face) {
  ASSERT_NE(face->actionInterface(), nullptr);
  EXPECT_TRUE(face->actionInterface()->actionNames().contains(QAccessibleActionInterface::pressAction()));
  face->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
}

void WindowFixture::expectSound() {
  Driver::drawFrame();
  const auto expectNamed = [](QAccessibleInterface* face) {
    const char* type = face->object() == nullptr ? "" : face->object()->metaObject()->className();
    EXPECT_FALSE(name(face).empty()) << type;
    EXPECT_NE(face->role(), QAccessible::NoRole) << type;
    EXPECT_NE(face->role(), QAccessible::Client) << type;
  };
  std::map<std::pair<QAccessibleInterface*, std::string>, int> actions;
  for (QAccessibleInterface* face : below(QAccessible::queryAccessibleInterface(&window))) {
    const bool isFocusable = face->state().focusable && face->role() != QAccessible::StaticText;
    const bool isProgress = face->role() == QAccessible::ProgressBar;
    if (isAction(face) || isFocusable || isProgress || face->role() == QAccessible::ListItem) expectNamed(face);
    if (isAction(face)) ++actions[{rowOf(face), name(face)}];
    const bool isOfList = face->parent() != nullptr && face->parent()->role() == QAccessible::List;
    EXPECT_FALSE(isOfList && isAction(face)) << name(face) << " is in no row";
    if (!isProgress) continue;
    // Progress bars of this toolkit have no value of their own for a screen reader.
    EXPECT_THAT(face->text(QAccessible::Description).toStdString(), testing::ContainsRegex("^[0-9]+%$"));
  }
  for (const auto& [action, count] : actions) EXPECT_EQ(count, 1) << action.second;
  for (QQuickItem* item : visibleItems(window.contentItem())) {
    if (!item->activeFocusOnTab()) continue;
    ASSERT_NE(QAccessible::queryAccessibleInterface(item), nullptr) << item->metaObject()->className();
    expectNamed(QAccessible::queryAccessibleInterface(item));
  }
}

QQuickItem* WindowFixture::itemWithText(const QString& text) {
  for (QWindow* each : QGuiApplication::topLevelWindows()) {
    auto* scene = qobject_cast<QQuickWindow*>(each);
    if (scene == nullptr || !scene->isVisible()) continue;
    for (QQuickItem* item : visibleItems(scene->contentItem())) {
      if (item->property("text").toString() == text) return item;
    }
  }
  return nullptr;
}

}  // namespace tallyfold::test

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  qInstallMessageHandler(tallyfold::test::note);
  tallyfold::TallyfoldApp program(argc, argv);
  tallyfold::test::WindowFixture::program = &program;
  return program.leave(RUN_ALL_TESTS());
}

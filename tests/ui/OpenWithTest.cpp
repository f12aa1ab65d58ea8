// What other programs have this one open, through the desktop's own commands.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <future>

#include <QFileDialog>
#include <QRegularExpression>

#include "checksums/lines/ChecksumLines.h"
#include "tests/support/Process.h"
#include "tests/support/WatchedSystemCalls.h"
#include "tests/ui/WindowFixture.h"
#include "ui/desktop/ApplicationOnBus.h"

namespace tallyfold::test {

namespace {

const std::string kEntry = ApplicationOnBus::name;

class OpenWithTest : public WindowFixture {
 protected:
  // Of the interface: the name of a method, and its arguments. Returns once it is answered.
  void call(const std::string& method, const std::vector<std::string>& arguments) {
    std::vector<std::string> command{"gdbus",  "call", "--session",     "--timeout=20",
                                     "--dest", kEntry, "--object-path", "/local/tallyfold/TallyFold"};
    command.insert(command.end(), {"--method", "org.freedesktop.Application." + method});
    command.insert(command.end(), arguments.begin(), arguments.end());
    OtherProgram gdbus(command);
    waitFor(method, [&] { return gdbus.hasSaid("()"); });
  }
  void open(const std::string& locations) { call("Open", {'[' + locations + ']', "{}"}); }

  [[nodiscard]] static std::string location(const fs::path& path) {
    return '\'' + fileUrl(path).toEncoded().toStdString() + '\'';
  }
};

TEST_F(OpenWithTest, FilesGoToFilesAndAListToManifest) {
  for (const auto& [file, target] : {std::pair{".desktop", "applications"}, {".xml", "mime/packages"}}) {
    fs::create_directories(folder.path() / "share" / target);
    fs::copy(fs::path(DESKTOP_FOLDER) / (kEntry + file), folder.path() / "share" / target);
  }
  outputOf({"update-mime-database", folder.path() / "share/mime"});
  outputOf({"update-desktop-database", folder.path() / "share/applications"});
  // Asked whether it is there, and not run.
  fs::create_symlink("/bin/false", folder.path() / "tally-fold");
  const auto gioOpen = [&](const fs::path& file) {
    return OtherProgram({"env", "XDG_DATA_DIRS=" + (folder.path() / "share").string() + ":/usr/share",
                         "PATH=" + folder.path().string() + ':' + std::getenv("PATH"), "gio", "open", file});
  };
  model.setMode(AppMode::Text);
  const auto opened = gioOpen(folder.file("a% \xFF", "\1\xFF\xFE\2"));
  waitFor("the run", [&] { return model.files()->results().size() == 1; });
  EXPECT_EQ(model.mode(), AppMode::Files);

  for (const char* name : {"SHA256SUMS", "x.sfv", "y.Sha512"}) {
    model.manifest()->clearManifest();
    model.setMode(AppMode::Text);
    const auto list = folder.file(name, "# a list\n");
    const auto openedList = gioOpen(list);
    waitFor(name, [&] { return model.manifest()->manifestURL() == list && model.mode() == AppMode::Manifest; });
  }
  open(location(folder.path()) + ',' + location(folder.file("z.md5", "")));
  waitFor("list and folder", [&] { return model.manifest()->manifestRootURL() == folder.path(); });
  EXPECT_EQ(model.manifest()->manifestURL(), folder.path() / "z.md5");
  EXPECT_EQ(model.errorMessage(), "");
  open(location(folder.path()) + ',' + location("/") + ',' + location(folder.path() / "z.md5"));
  waitFor("list and two folders", [&] { return model.files()->results().size() == 2; });
  open(location(folder.file("b", "")) + ',' + location(folder.path()) + ',' + location(folder.path() / "z.md5"));
  waitFor("the run", [&] { return model.files()->results().size() == 3; });
}

TEST_F(OpenWithTest, WhatIsNoFileIsLeftOutAndWhatIsRefusedSaysSo) {
  model.setMode(AppMode::Text);
  open("");
  open("'https://example.org/a', 'file://elsewhere/a', 'file:///a%00b', '/etc/passwd', '', 'file:///a\\nfile:///b'");
  open(location(folder.path()));
  call("ActivateAction", {"quit", "[<'all'>]", "{'activation-token': <1>}"});
  EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
  QCoreApplication::processEvents();
  EXPECT_EQ(model.mode(), AppMode::Text);
  EXPECT_EQ(model.files()->jobs()->count(), 0);

  add({endlessFile()});
  model.files()->startProcessing();
  open(location(folder.file("late", "")));
  waitFor("the alert", [&] { return model.errorMessage() == "The list cannot change during a run."; });
  EXPECT_EQ(model.files()->jobs()->count(), 1);
}

TEST_F(OpenWithTest, ComesToTheFront) {
  driver.press({"Control_L", "comma"});
  waitFor("another window", [&] { return QGuiApplication::focusWindow() != &window; });
  call("Activate", {"{}"});
  waitFor("the window", [&] { return QGuiApplication::focusWindow() == &window; });
  model.verify()->chooseVerifyFile();
  waitFor("the panel", [&] { return Driver::panel("openPanel") != nullptr; });
  const QFileDialog& panel = *Driver::panel("openPanel");
  driver.focus(window);
  open("");
  waitFor("the panel in front", [&] { return QGuiApplication::focusWindow() == panel.windowHandle(); });
}

TEST_F(OpenWithTest, NothingBelowAPanelActsBeforeItIsAnswered) {
  model.files()->chooseFiles();
  waitFor("the panel", [&] { return Driver::panel("openPanel") != nullptr; });
  QFileDialog& panel = *Driver::panel("openPanel");
  // Some releases of the toolkit hand it on to the panel at once.
  const auto giveKeyboardToWindow = [&] {
    window.requestActivate();
    waitFor("the keyboard", [&] {
      const QWindow* holder = QGuiApplication::focusWindow();
      return holder != nullptr && driver.windowWithKeyboard() == holder->winId();
    });
  };
  for (const char* key : {"o", "e", "2", "comma", "q"}) {
    giveKeyboardToWindow();
    driver.press({"Control_L", key});
    waitFor("the panel in front", [&] { return QGuiApplication::focusWindow() == panel.windowHandle(); });
  }
  giveKeyboardToWindow();
  model.files()->chooseFiles();
  waitFor("the panel in front", [&] { return QGuiApplication::focusWindow() == panel.windowHandle(); });
  EXPECT_EQ(std::ranges::count_if(QGuiApplication::topLevelWindows(), &QWindow::isVisible), 2);
  EXPECT_EQ(model.mode(), AppMode::Files);
  for (const char* const list : {"x.md5", "y.md5", "z.md5", "z.md5"}) open(location(folder.file(list, "")));
  EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
  QCoreApplication::processEvents();
  EXPECT_EQ(model.mode(), AppMode::Files);
  panel.reject();
  waitFor("the list", [&] { return model.mode() == AppMode::Manifest && model.manifest()->manifestURL().has_value(); });
  waitFor("no other", [&] {
    const QString details = model.manifest()->manifestVerdict().details;
    return !model.manifest()->isLoadingManifest() &&
           details.endsWith(" and 1 more came with this list and are not read.");
  });
  EXPECT_EQ(model.errorMessage(), "");

  model.setErrorMessage(QStringLiteral("An alert is in front."));
  driver.usableItem("alertOk");
  driver.focus(window);
  driver.press({"Control_L", "comma"});
  driver.press({"Return"});
  waitForNo("alertOk");
  EXPECT_EQ(std::ranges::count_if(QGuiApplication::topLevelWindows(), &QWindow::isVisible), 1);
}

TEST_F(OpenWithTest, WaitsForAReportAndForWhatIsSaidOfIt) {
  add({"a"}, "abc");
  calculate();
  std::promise<void> disk;
  std::atomic<bool> isAsked = false;
  WatchedSystemCalls calls;
  calls.before = [&isAsked, answer = disk.get_future().share()](std::string_view call, std::size_t) {
    if (call != "fsync") return 0;
    isAsked = true;
    answer.wait();
    return EIO;
  };
  model.files()->exportResults(FilesFlow::Text);
  driver.answerPanel("savePanel", folder.path() / "report.txt");
  waitFor("the saving", [&] { return isAsked.load(); });
  open(location(folder.file("z.md5", "")));
  model.text()->setTextInput(QStringLiteral("x"));
  waitFor("what comes later", [&] { return !model.text()->textHashes().algorithms().empty(); });
  EXPECT_EQ(model.mode(), AppMode::Files);
  EXPECT_TRUE(model.files()->isExporting());
  disk.set_value();
  waitFor("the failure", [&] { return !model.files()->isExporting(); });
  driver.usableItem("alertOk");
  EXPECT_EQ(model.errorMessage(), "Input/output error");
  EXPECT_EQ(model.mode(), AppMode::Files);
  driver.press({"Return"});
  waitFor("the list", [&] { return model.mode() == AppMode::Manifest && model.manifest()->manifestURL().has_value(); });
  EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
}

TEST_F(OpenWithTest, ListThatWasChosenOrMadeMeanwhileStays) {
  ManifestFlow& manifest = *model.manifest();
  ListCreationFlow& creation = *model.listCreation();
  const fs::path chosen = folder.file("chosen.md5", "# a list\n");
  manifest.chooseManifestFile();
  waitFor("the panel", [&] { return Driver::panel("openPanel") != nullptr; });
  open(location(folder.file("z.md5", "")));
  driver.answerPanel("openPanel", chosen);
  driver.usableItem("alertOk");
  EXPECT_EQ(model.errorMessage(), "Another checksum list was opened meanwhile. Open the file again to read it.");
  EXPECT_EQ(model.errorSubject(), "z.md5");
  EXPECT_EQ(manifest.manifestURL(), chosen);
  driver.press({"Return"});
  waitForNo("alertOk");

  manifest.setManifestRoot({fileUrl(folder.path())});
  driver.focus(window);
  driver.press({"Control_L", "n"});
  driver.usableItem("createList");
  creation.create();
  waitFor("the list", [&] { return creation.saveRefusal().isEmpty(); });
  creation.save();
  waitFor("the panel", [&] { return Driver::panel("savePanel") != nullptr; });
  open(location(folder.path() / "z.md5"));
  driver.answerPanel("savePanel", folder.path() / "made");
  driver.usableItem("alertOk");
  EXPECT_EQ(model.errorMessage(), "Another checksum list was opened meanwhile. Open the file again to read it.");
  EXPECT_EQ(manifest.manifestURL(), folder.path() / "made");
  driver.press({"Return"});
  waitForNo("alertOk");

  std::promise<void> disk;
  std::atomic<bool> isAsked = false;
  WatchedSystemCalls calls;
  calls.looked = [&isAsked, answer = disk.get_future().share()](std::string_view path) {
    if (path.ends_with("z.md5") && !isAsked.exchange(true)) answer.wait();
  };
  open(location(folder.path() / "z.md5"));
  waitFor("the slow disk", [&] { return isAsked.load(); });
  manifest.dropManifest({fileUrl(chosen)});
  waitFor("the list", [&] { return manifest.manifestURL() == chosen && !manifest.isLoadingManifest(); });
  disk.set_value();
  driver.usableItem("alertOk");
  EXPECT_EQ(model.errorMessage(), "Another checksum list was opened meanwhile. Open the file again to read it.");
  EXPECT_EQ(manifest.manifestURL(), chosen);
  EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
}

TEST_F(OpenWithTest, MenuGoesWithItsScreen) {
  add({"a"}, "abc");
  calculate();
  driver.press({"Control_L", "e"});
  driver.usableItem("exportText");
  open(location(folder.file("z.md5", "")));
  waitFor("the list", [&] { return model.mode() == AppMode::Manifest; });
  waitForNo("exportText");
  EXPECT_TRUE(BackgroundTask::waitForAll(std::chrono::seconds(20)));
}

// What the desktop takes for a list, the program does.
TEST(DesktopTypesTest, AreTheNamesOfLists) {
  QFile types(QStringLiteral(DESKTOP_FOLDER "/%1.xml").arg(ApplicationOnBus::name));
  ASSERT_TRUE(types.open(QFile::ReadOnly));
  const QString text = QString::fromUtf8(types.readAll());
  int count = 0;
  for (const auto& glob : QRegularExpression(QStringLiteral("glob pattern=\"(.*)\"")).globalMatch(text)) {
    ++count;
    const auto name = glob.captured(1).replace(u'*', u'x').toStdString();
    EXPECT_TRUE(ChecksumManifestService::isListName(name)) << name;
  }
  EXPECT_GT(count, 40);
}

}  // namespace

}  // namespace tallyfold::test

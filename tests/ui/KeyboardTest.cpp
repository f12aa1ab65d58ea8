// Where the keyboard is, as other programs see it: those that assist, over their bus, and xclip.

#include <algorithm>
#include <optional>
#include <set>

#include <QClipboard>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDBusVariant>
#include <QFileDialog>
#include <QGuiApplication>
#include <QWindow>

#include "tests/support/Process.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

struct Place {
  QString service;
  QString path;
};

class KeyboardTest : public WindowFixture {
 protected:
  void SetUp() override {
    if (!launcher) {
      launcher.emplace(std::vector<std::string>{"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"});
      auto asked = QDBusMessage::createMethodCall("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress");
      QDBusReply<QString> address;
      waitFor("the bus", [&] { return (address = QDBusConnection::sessionBus().call(asked)).isValid(); });
      bus = QDBusConnection::connectToBus(address, QStringLiteral("assistance"));
    }
    WindowFixture::SetUp();
  }
  static void TearDownTestSuite() { launcher->end(); }

  QVariant ask(const Place& place, const char* interface, const char* what, const QVariantList& arguments = {}) {
    auto call = QDBusMessage::createMethodCall(place.service, place.path, interface, what);
    call.setArguments(arguments);
    // This very process answers. The toolkit's own loop for that sometimes misses the answer, and waits for ever.
    const QDBusPendingCall pending = bus.asyncCall(call);
    while (!pending.isFinished()) QCoreApplication::processEvents();
    return pending.reply().arguments().value(0);
  }

  QString textOf(const Place& place, const char* property) {
    const QVariantList arguments = {QStringLiteral("org.a11y.atspi.Accessible"), QString::fromLatin1(property)};
    const auto text = ask(place, "org.freedesktop.DBus.Properties", "Get", arguments);
    return text.value<QDBusVariant>().variant().toString();
  }

  std::vector<Place> below(const Place& place) {
    std::vector<Place> all;
    const auto list = ask(place, "org.a11y.atspi.Accessible", "GetChildren").value<QDBusArgument>();
    for (list.beginArray(); !list.atEnd();) {
      QDBusObjectPath path;
      list.beginStructure();
      list >> all.emplace_back().service >> path;
      list.endStructure();
      all.back().path = path.path();
    }
    list.endArray();
    return all;
  }

  // Innermost, in or below `place`.
  std::optional<Place> focusedIn(const Place& place) {
    for (const Place& child : below(place)) {
      if (auto found = focusedIn(child)) return found;
    }
    constexpr unsigned focused = 1U << 12U;
    const auto states = qdbus_cast<QList<unsigned>>(ask(place, "org.a11y.atspi.Accessible", "GetState"));
    return !states.empty() && (states[0] & focused) != 0 ? std::optional(place) : std::nullopt;
  }

  std::optional<Place> focused() {
    return focusedIn({QStringLiteral("org.a11y.atspi.Registry"), QStringLiteral("/org/a11y/atspi/accessible/root")});
  }

  void waitForFocus(const QString& name) {
    QString now;
    try {
      waitFor("", [&] {
        const auto place = focused();
        return (now = place ? textOf(*place, "Name") : QString()).startsWith(name);
      });
    } catch (const std::exception&) {
      throw std::runtime_error("The keyboard is at \"" + now.toStdString() + "\", not " + name.toStdString());
    }
  }

  static inline std::optional<OtherProgram> launcher;
  static inline QDBusConnection bus{QString()};
};

TEST_F(KeyboardTest, GoesFromEveryModeToTheFirstPlaceOfEveryOther) {
  model.setSelectedAlgorithms({HashAlgorithm::crc32});
  add({"file"}, "abc");
  calculate();
  const QString places[] = {"file, ", "Text to hash", "Checksum or checksum line", "Choose Checksum List…",
                            "Choose File A"};
  std::string typed[std::size(places)];
  for (const AppMode::Case from : AppMode::allCases()) {
    for (const AppMode::Case to : AppMode::allCases()) {
      if (from == to) continue;
      enter(from);
      driver.type("f");
      typed[from] += 'f';
      QGuiApplication::clipboard()->setText(QStringLiteral("before"));
      (from + to) % 2 == 0 ? enter(to) : driver.click("mode" + AppMode::rawValue(to));
      waitForFocus(places[to]);
      driver.press({"End"});
      driver.type("t");
      typed[to] += 't';
      for (const char* key : {"a", "c"}) driver.press({"Control_L", key});
      driver.press({"Right"});
      const bool isText = to == AppMode::Text || to == AppMode::Verify;
      waitForClipboard(isText ? typed[to] : to == AppMode::Files ? "CRC-32: 352441c2" : "before");
    }
  }
  EXPECT_EQ(model.text()->textInput().toStdString(), typed[AppMode::Text]);
  EXPECT_EQ(model.verify()->expectedHash().toStdString(), typed[AppMode::Verify]);
}

TEST_F(KeyboardTest, LeavesEveryPlace) {
  model.compare()->setCompareFiles({fileUrl(folder.file("a", "")), fileUrl(folder.file("b", ""))}, false);
  const struct {
    std::initializer_list<const char*> keys;
    const char* name;
  } steps[] = {
      {{"Control_L", "3"}, "Checksum or checksum line"},
      {{"Tab"}, "Auto"},
      {{"Shift_L", "Tab"}, "Checksum or checksum line"},
      {{"Shift_L", "Tab"}, "Paste"},
      {{"Control_L", "2"}, "Text to hash"},
      {{"Tab"}, "Text to hash"},
      {{"Control_L", "Tab"}, "Clear"},
      {{"Return"}, "Text to hash"},
      {{"Control_L", "Shift_L", "Tab"}, "Menu"},
      {{"Control_L", "5"}, "Compare"},
      {{"Shift_L", "Tab"}, "Choose File B"},
  };
  for (const auto& [keys, name] : steps) {
    driver.press(keys);
    waitFor(name, [&, wanted = std::string(name)] { return focusedName() == wanted; });
  }
  const auto hasRing = [&] { return window.activeFocusItem()->property("visualFocus").toBool(); };
  const auto panelIsClosed = [] { return Driver::panel("openPanel") == nullptr; };
  driver.press({"Return"});
  waitFor("the panel", [&] { return !panelIsClosed(); });
  driver.focus(*Driver::panel("openPanel")->windowHandle());
  driver.press({"Escape"});
  waitFor("no panel", panelIsClosed);
  driver.focus(window);
  waitFor("the button again", [&] { return focusedName() == "Choose File B" && hasRing(); });
  driver.press({"Return"});
  driver.answerPanel("openPanel", folder.file("c", "c"));
  EXPECT_EQ(model.compare()->compareSecondURL(), folder.path() / "c");
  EXPECT_FALSE(model.compare()->compareResult()) << "Return is the button's";
  driver.focus(window);
  waitFor("the next place", [&] { return focusedName() == "Compare" && hasRing(); });

  driver.item("sidebar")->forceActiveFocus();
  enter(AppMode::Files);
  EXPECT_EQ(focusedName(), "Files") << "The sidebar keeps the keyboard";
  add({"a"}, "");
  driver.press({"Return"});
  waitFor("the list", [&] { return focusedName() == "a"; });
  while (focusedName() != "Clear") {
    const QQuickItem* const last = window.activeFocusItem();
    driver.press({"Tab"});
    waitFor("the next place", [&] { return window.activeFocusItem() != last; });
  }
  driver.press({"Return"});
  waitFor("the button instead", [&] { return focusedName() == "Choose Files…" && hasRing(); });

  model.text()->setTextInput(QStringLiteral("x"));
  model.manifest()->setManifestFile({fileUrl(folder.file("list", ""))});
  waitFor("the list", [&] { return model.manifest()->clearManifestRefusal().isEmpty(); });
  for (const auto& [mode, button, name] : {std::tuple{AppMode::Text, "clearText", "Text to hash"},
                                           {AppMode::Manifest, "clearManifest", "Choose Checksum List…"}}) {
    enter(mode);
    driver.click(button);
    waitFor(name, [&, wanted = std::string(name)] { return focusedName() == wanted; });
  }
}

class TabTest : public WindowFixture {
 protected:
  static bool hasRing(QQuickItem* item) {
    if (QByteArray(item->metaObject()->className()).startsWith("TFFocusRing")) return item->isVisible();
    return item->isVisible() && std::ranges::any_of(item->childItems(), hasRing);
  }

  // From where the keys are to the place of this name: each place is right of the one before or below it, can be seen,
  // and shows that it has the keys.
  void expectOrderOfTheEye(const std::string& last) {
    std::set<QQuickItem*> places;
    for (QQuickItem* before = window.activeFocusItem(); focusedName() != last; before = window.activeFocusItem()) {
      ASSERT_TRUE(places.insert(before).second) << "Tab does not come to " << last;
      driver.press({"Tab"});
      waitFor("the place behind " + focusedName(), [&] { return window.activeFocusItem() != before; });
      Driver::drawFrame();
      QQuickItem* now = window.activeFocusItem();
      const QRectF from = before->mapRectToScene(before->boundingRect());
      const QRectF to = now->mapRectToScene(now->boundingRect());
      EXPECT_TRUE(to.left() >= from.right() || to.top() >= from.bottom() || from.contains(to))
          << focusedName() << " is behind what stands after it";
      EXPECT_TRUE(hasRing(now) || hasRing(now->parentItem())) << focusedName();
      EXPECT_GE(to.top(), 0) << focusedName();
      EXPECT_LE(to.bottom(), window.height()) << focusedName();
    }
  }
};

TEST_F(TabTest, GoesAsTheEyeDoes) {
  window.resize(window.minimumSize());
  fs::create_directory(folder.path() / "root");
  const fs::path listed = folder.file("root/abc", "abc");
  const fs::path other = folder.file("root/other", "abd");
  const std::string zero(32, '0');
  enter(AppMode::Manifest);
  model.manifest()->setManifestRoot({fileUrl(listed.parent_path())});
  driver.press({"Control_L", "n"});
  driver.usableItem("createList");
  model.listCreation()->create();
  waitFor("the list", [&] { return focusedName() == "Save…"; });
  driver.press({"Tab"});
  waitFor("the first place", [&] { return focusedName() != "Save…"; });
  expectOrderOfTheEye("Save…");
  driver.press({"Escape"});
  waitForNo("createList");
  driver.press({"Control_L", "n"});
  waitFor("the list that is not saved yet", [&] { return focusedName() == "Save…"; });
  driver.press({"Escape"});
  waitForNo("createList");

  model.manifest()->setManifestFile({fileUrl(folder.file("list", zero + "  abc\nno line\n" + zero + "  gone\n"))});
  waitFor("the list", [&] { return model.manifest()->manifestRefusal().isEmpty(); });
  driver.press({"Control_L", "Return"});
  waitFor("the verdict, and what is missing", [&] { return model.audit()->offersSearch(); });
  model.manifest()->manifestExport()->save(ManifestExport::Text);
  driver.answerPanel("savePanel", folder.path() / "report");
  driver.item("noticeAction");
  driver.item("manifestFileChoose")->property("place").value<QQuickItem*>()->forceActiveFocus(Qt::TabFocusReason);
  expectOrderOfTheEye("Verify");

  enter(AppMode::Compare);
  model.compare()->setCompareFiles({fileUrl(listed), fileUrl(other)}, false);
  driver.press({"Control_L", "Return"});
  waitFor("the bytes", [&] { return driver.findItem("differenceRows") != nullptr; });
  driver.item("compareFirstChoose")->property("place").value<QQuickItem*>()->forceActiveFocus(Qt::TabFocusReason);
  expectOrderOfTheEye("Copy the bytes");
}

}  // namespace

}  // namespace tallyfold::test

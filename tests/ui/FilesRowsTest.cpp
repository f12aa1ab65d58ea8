// What the rows of the list and the alert show.

#include <gmock/gmock.h>

#include "app/shared/FileLocation.h"
#include "tests/ui/WindowFixture.h"

namespace tallyfold::test {

namespace {

class FilesRowsTest : public WindowFixture {
 protected:
  // Colours of the texts that are visible in a row.
  QColor colorOf(int index, const QString& text) {
    for (QQuickItem* item : visibleItems(row(index))) {
      if (item->property("text").toString() == text) return item->property("color").value<QColor>();
    }
    throw std::runtime_error("Row " + std::to_string(index) + " does not show " + text.toStdString());
  }
};

TEST_F(FilesRowsTest, EveryStateIsToldByWordsAndColour) {
  add({folder.path() / "vanished", folder.file("done", "abc"), endlessFile(), folder.file("queued", "")});
  driver.press({"Control_L", "Return"});
  waitFor("progress", [&] { return state(2) == FileJobListModel::Hashing; });

  const QColor red(0xFF8A8A);
  const QColor green(0x5FDC94);
  EXPECT_EQ(colorOf(0, "No such file or directory"), red);
  EXPECT_EQ(colorOf(0, "Failed"), red);
  EXPECT_EQ(colorOf(1, "Done"), green);
  EXPECT_NE(colorOf(3, "Queued"), green);
  EXPECT_FALSE(inRow(1, "digest BLAKE3")->property("text").toString().isEmpty());
  EXPECT_EQ(model.errorMessage(), "") << "The failure of a file is told in its row";
}

TEST_F(FilesRowsTest, FigureOfARunIsOfItsOwnFiles) {
  const auto figure = [&] { return driver.item("runFigure")->property("text").toString(); };
  add({"a", "b", "c"}, "abc");
  EXPECT_EQ(figure(), "0 of 3");
  calculate();
  model.files()->removeJob(model.files()->jobs()->idAt(0));
  EXPECT_EQ(figure(), "3 of 3");
  add({"d", "e"}, "abc");
  EXPECT_EQ(figure(), "3 of 3");
  calculate();
  EXPECT_EQ(figure(), "4 of 4");
  model.files()->clearFiles();
  EXPECT_EQ(figure(), "0 of 0");
}

TEST_F(FilesRowsTest, SizeDurationAndThroughputStandUnderTheName) {
  add({folder.file("4 MB", std::string(4'200'000, 'x'))});
  calculate();
  waitFor("the facts", [&] {
    for (const QQuickItem* item : visibleItems(row(0))) {
      const QString text = item->property("text").toString();
      static const QRegularExpression facts("^ · 4\\.2 MB · ([0-9]+ ms|[0-9]+\\.[0-9][0-9] s) · [0-9.]+ [KMG]B/s$");
      if (facts.match(text).hasMatch()) return true;
    }
    return false;
  });
}

TEST_F(FilesRowsTest, EveryFileNameIsShownOnOneLineInsideItsRow) {
  const std::vector<std::pair<std::string, QString>> names = {
      {"two\nlines", "two<U+000A>lines"},
      {"tab\tand\x7F", "tab<U+0009>and<U+007F>"},
      {"not \xFF UTF-8", "not \uFFFD UTF-8"},
      {"<b>bold &amp; <img src='x'>", "<b>bold &amp; <img src='x'>"},
      {"מסמך.pdf", "מסמך.pdf"},
      {"photo\u202Egnp.exe", "photo<U+202E>gnp.exe"},
      {std::string(251, 'W') + ".txt", QString(251, u'W') + ".txt"},
  };
  std::vector<std::filesystem::path> files;
  for (const auto& [name, shown] : names) files.push_back(folder.file(name, "abc"));
  add(files);
  model.setSelectedAlgorithms({HashAlgorithm::crc32});
  calculate();
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto index = static_cast<int>(i);
    QMetaObject::invokeMethod(driver.item("jobList"), "positionViewAtIndex", Q_ARG(int, index), Q_ARG(int, 0));
    const QQuickItem* name = inRow(index, "name");
    EXPECT_EQ(name->property("text").toString(), names[i].second);
    EXPECT_EQ(name->property("lineCount").toInt(), 1);
    EXPECT_LE(name->property("contentWidth").toReal(), name->width());
    EXPECT_TRUE(row(index)->boundingRect().contains(name->mapRectToItem(row(index), name->boundingRect())));
    EXPECT_EQ(state(index), FileJobListModel::Complete) << names[i].first;
  }
}

TEST_F(FilesRowsTest, RowsOfAFullQueueAreMadeAsTheyComeIntoView) {
  constexpr int limit = 100'000;
  QList<QUrl> urls;
  for (int i = 0; i < limit; ++i) urls.append(QUrl(QStringLiteral("file:///nowhere/%1").arg(i)));
  model.files()->addFiles(urls);
  row(0);
  driver.clickAt(row(0)->mapToGlobal(QPointF(100, 10)).toPoint());
  driver.press({"End"});
  waitFor("the last file", [&] { return selectedName() == "99999"; });
  EXPECT_EQ(inRow(limit - 1, "name")->property("text").toString(), "99999");
  int rows = 0;
  for (const QQuickItem* item : row(limit - 1)->parentItem()->childItems())
    rows += item->inherits("QQuickItemDelegate");
  EXPECT_LT(rows, 100);
}

TEST_F(FilesRowsTest, AnAlertGoesWithItsMessageAndComesBackWithTheNext) {
  model.setErrorMessage("One thing failed.");
  waitFor("the alert", [&] { return itemWithText("One thing failed.") != nullptr; });
  model.setErrorMessage("Another thing failed.");
  waitFor("the other message", [&] { return itemWithText("Another thing failed.") != nullptr; });
  EXPECT_EQ(itemWithText("One thing failed."), nullptr);
  model.setErrorMessage("");
  waitFor("the alert to go", [&] { return driver.findItem("alertOk") == nullptr; });
  for (const char* message : {"Again.", "And again."}) {
    model.setErrorMessage(message);
    EXPECT_EQ(itemWithText(message), driver.usableItem("alertMessage"));
    driver.click("alertOk");
    waitFor("the alert to go", [&] { return driver.findItem("alertOk") == nullptr; });
    EXPECT_EQ(model.errorMessage(), "");
  }
}

}  // namespace

}  // namespace tallyfold::test

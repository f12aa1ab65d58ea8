#include <set>

#include "app/files/PreparedFiles.h"
#include "tests/app/ModelTest.h"
#include "tests/support/CollidingNames.h"

namespace tallyfold::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using AddFiles = ModelTest;

TEST_F(AddFiles, EachRegularLocationIsQueuedOnceInTheGivenOrder) {
  struct Case {
    const char* situation;
    std::vector<const char*> urls;
    std::vector<std::filesystem::path> expected;
  };
  const QByteArray here = "file://" + QSysInfo::machineHostName().toUpper().toLatin1() + "/t/b";
  const std::vector<Case> cases = {
      {"in the given order", {"file:///t/b", "file:///t/a", "file:///t/c"}, {"/t/b", "/t/a", "/t/c"}},
      {"a repeated file", {"file:///t/a", "file:///t/b", "file:///t/a"}, {"/t/a", "/t/b"}},
      {"one file in many spellings",
       {"file:///t/a", "file:///t/./a", "file:///t/x/../a", "file:///t//a", "file:////t/a", "file:///%74/%61"},
       {"/t/a"}},
      {"folders", {"file:///t/", "file:///t/a/", "file:///", "file:///t/.", "file:///t/a/..", "file:///t/%2E"}, {}},
      {"a folder among files", {"file:///t/a", "file:///t/", "file:///t/b"}, {"/t/a", "/t/b"}},
      {"not files", {"https://example.org/a", "/t/a", "a", "file:a", "file:", "", "mailto:a@example.org"}, {}},
      {"files of other machines, and what is more than a file",
       {"file://otherhost/t/a", "file://user@localhost/t/a", "file://localhost:80/t/a", "file:///t/a?b", "file:///t/a?",
        "file:///t/a#b", "file:///t/a%00b", "file:///t/a%00"},
       {}},
      {"this machine", {"file://LocalHost/t/a", here.constData()}, {"/t/a", "/t/b"}},
      {"names that are not UTF-8", {"file:///t/%FF", "file:///t/%FE", "file:///t/%FF"}, {"/t/\xFF", "/t/\xFE"}},
      {"names with meaning in URLs", {"file:///t/%3F%23%25", "file:///t/a%0Ab"}, {"/t/?#%", "/t/a\nb"}},
      {"upper and lower case", {"file:///t/A", "file:///t/a"}, {"/t/A", "/t/a"}},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.situation);
    model_->files()->clearFiles();
    QList<QUrl> urls;
    for (const char* url : test.urls) urls.append(QUrl(QString::fromLatin1(url)));
    model_->files()->addFiles(urls);
    EXPECT_EQ(paths(), test.expected);

    const QSignalSpy changes(model_->files()->jobs(), &FileJobListModel::rowsInserted);
    model_->files()->addFiles(urls);
    EXPECT_EQ(paths(), test.expected);
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(model_->errorMessage(), QString());
  }
}

TEST_F(AddFiles, NamesThatAreMadeToMeetDoNot) {
  QList<QUrl> urls;
  for (const std::string& name : collidingNames("/nowhere", 12)) {
    urls.append(QUrl::fromLocalFile(QString::fromStdString(name)));
  }
  std::set<std::size_t> hashes;
  for (const PreparedFile& file : prepareFiles(urls)) hashes.insert(file.hash);
  EXPECT_EQ(hashes.size(), 4096U);
}

TEST_F(AddFiles, QueueIsLimitedAndLosesNothingAtItsLimit) {
  const QString message = QStringLiteral("The file queue is limited to 100,000 items.");
  const QUrl folder(QStringLiteral("file:///t/"));
  const QUrl page(QStringLiteral("https://example.org/"));
  const QList<QUrl> first = vanishedFiles(99'999);
  const QList<QUrl> more = vanishedFiles(4, QStringLiteral("/more/"));
  const QSignalSpy changes(model_->files()->jobs(), &FileJobListModel::rowsInserted);
  model_->files()->addFiles(first);
  ASSERT_EQ(changes.count(), 1) << "However many there are, the list changes once";
  const Uuid firstID = idAt(0);

  const auto add = [&](const char* situation, const QList<QUrl>& urls, int count, bool isRefused) {
    SCOPED_TRACE(situation);
    model_->setErrorMessage({});
    model_->files()->addFiles(urls);
    EXPECT_EQ(model_->files()->jobs()->count(), count);
    EXPECT_EQ(model_->errorMessage(), isRefused ? message : QString());
  };
  add("room for one, nothing new", {first[0], folder, page, first[99'998]}, 99'999, false);
  add("room for one, two new ones", {more[0], more[1]}, 100'000, true);
  add("no room, a new one", {more[2]}, 100'000, true);
  add("no room, a folder", {folder}, 100'000, true);
  model_->files()->removeJob(idAt(99'999));
  add("room for one, and what is no file after it", {more[2], folder, page}, 100'000, false);
  model_->files()->removeJob(idAt(99'999));
  add("room for one, the same twice", {more[3], more[3]}, 100'000, true);

  EXPECT_EQ(idAt(0), firstID);
  for (int row = 0; row < first.size(); ++row) {
    ASSERT_EQ(model_->files()->jobs()->jobs()[static_cast<std::size_t>(row)].url->native(),
              first[row].path().toStdString());
  }
  EXPECT_EQ(*model_->files()->jobs()->jobs().back().url, "/more/3");
}

TEST_F(AddFiles, DropThatFillsTheQueueStartsAndSaysThatNotAllHadRoom) {
  // Without a selection there is nothing to start. The second drop comes while the first is prepared.
  model_->setSelectedAlgorithms({});
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/cleared")});
  model_->files()->clearFiles();
  model_->files()->addFiles(vanishedFiles(99'998));
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/a")});
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/b")});
  ASSERT_TRUE(reached([&] { return model_->files()->jobs()->count() == 100'000; }));
  EXPECT_EQ(*model_->files()->jobs()->jobs().back().url, "/elsewhere/b");
  EXPECT_FALSE(model_->files()->isProcessing());
  model_->files()->removeJob(idAt(0));
  model_->choosePreset(AppViewModel::Recommended);
  model_->setErrorMessage(QStringLiteral("An older one."));
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/c")});
  ASSERT_TRUE(reached([&] { return model_->files()->isProcessing(); }));
  EXPECT_EQ(model_->errorMessage(), QString());
  model_->files()->cancelProcessing();
  ASSERT_TRUE(runEnds());

  model_->files()->removeJob(idAt(0));
  model_->files()->addDroppedFiles({urlOf("/elsewhere/d"), urlOf("/elsewhere/e")});
  EXPECT_TRUE(model_->files()->isProcessing());
  EXPECT_EQ(model_->errorMessage(), QStringLiteral("The file queue is limited to 100,000 items."));
  model_->files()->cancelProcessing();
  ASSERT_TRUE(runEnds());
}

TEST_F(AddFiles, WhatIsReceivedBeforeTheListIsClearedComesNoMore) {
  model_->files()->chooseFiles();
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/a")});
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/b")});
  model_->files()->clearFiles();
  desktop_.openPanel({urlOf("/elsewhere/c")});
  model_->files()->receiveDroppedFiles({urlOf("/elsewhere/d")});
  ASSERT_TRUE(reached([&] { return model_->files()->jobs()->count() > 0; }) && runEnds());
  EXPECT_THAT(paths(), ElementsAre("/elsewhere/d"));
}

TEST_F(AddFiles, ChosenFilesAreQueuedUnlessARunHasBegun) {
  const auto file = folder_.file("abc", "abc");
  model_->files()->chooseFiles();
  ASSERT_TRUE(desktop_.openPanel);
  EXPECT_THAT(paths(), IsEmpty());
  desktop_.confirmOpenPanel({urlOf(file)});
  ASSERT_TRUE(reached([&] { return model_->files()->jobs()->count() == 1; }));
  EXPECT_THAT(paths(), ElementsAre(file));
  EXPECT_FALSE(model_->files()->isProcessing());

  model_->files()->chooseFiles();
  holdAt("read", 1);
  model_->files()->startProcessing();
  desktop_.confirmOpenPanel({urlOf("/late")});
  EXPECT_THAT(paths(), ElementsAre(file));
}

}  // namespace

}  // namespace tallyfold::test

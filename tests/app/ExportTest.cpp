// Saving the results of the Files mode as a report.

#include <sys/resource.h>

#include "app/shared/FileLocation.h"
#include "tests/app/ModelTest.h"
#include "tests/support/Process.h"

namespace tallyfold::test {

namespace {

class Export : public ModelTest {
 protected:
  void SetUp() override {
    model_->choosePreset(AppViewModel::AllAlgorithms);
    add({folder_.file("b, \"c\"", "abc"), folder_.file("a", "")});
    run();
  }

  void exportTo(const fs::path& destination) {
    model_->files()->exportResults(FilesFlow::Csv);
    ASSERT_TRUE(desktop_.savePanel);
    EXPECT_FALSE(model_->files()->isExporting());
    desktop_.confirmSavePanel(urlOf(destination));
    ASSERT_TRUE(model_->files()->isExporting());
  }
  bool exportEnds() {
    return reached([this] { return !model_->files()->isExporting(); });
  }

  [[nodiscard]] std::vector<std::string> reports() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(reports_)) names.push_back(entry.path().filename());
    return names;
  }

  const fs::path reports_ = folder_.path() / "reports";
  const bool hasReports_ = fs::create_directory(reports_);
};

TEST_F(Export, NothingIsSavedWithoutResultsOrADestination) {
  for (const auto& [format, name] : {std::pair{FilesFlow::Text, "checksums.txt"},
                                     {FilesFlow::Csv, "checksums.csv"},
                                     {FilesFlow::Json, "checksums.json"}}) {
    model_->files()->exportResults(format);
    EXPECT_EQ(desktop_.proposedName, QLatin1String(name));
  }
  for (const char* url : {"", "https://example.org/report.json", "report.json"}) {
    auto panel = desktop_.savePanel;
    panel(QUrl(QString::fromLatin1(url)));
    EXPECT_FALSE(model_->files()->isExporting()) << url;
  }
  holdAt("read", 1);
  model_->files()->startProcessing();
  desktop_.confirmSavePanel(urlOf(reports_ / "report"));
  EXPECT_FALSE(model_->files()->isExporting()) << "a run has begun";
  gate_.open();
  ASSERT_TRUE(runEnds());
  EXPECT_THAT(reports(), IsEmpty());

  model_->files()->exportResults(FilesFlow::Json);
  model_->files()->chooseFiles();
  model_.reset();
  desktop_.confirmOpenPanel({urlOf("/late")});
  desktop_.confirmSavePanel(urlOf(reports_ / "report"));
  ASSERT_TRUE(BackgroundTask::waitForAll(patience));
  EXPECT_THAT(reports(), IsEmpty());
}

TEST_F(Export, ListHasNamesBelowTheFolderThatTheFilesShare) {
  const auto list = [&] {
    model_->files()->exportList();
    desktop_.confirmSavePanel(urlOf(reports_ / "list"));
    EXPECT_TRUE(exportEnds());
    return fs::exists(reports_ / "list") ? contentOf(reports_ / "list") : model_->errorMessage().toStdString();
  };
  EXPECT_THAT(list(), testing::AllOf(testing::StartsWith("MD5 (b, \"c\") = 900150983cd24fb0d6963f7d28e17f72\n"),
                                     testing::HasSubstr("\nCRC32 (a) = 00000000\n")));
  EXPECT_EQ(desktop_.proposedName.toStdString(), (folder_.path() / "CHECKSUMS").native());
  model_->setSelectedAlgorithms({HashAlgorithm::blake3});
  fs::create_directory(folder_.path() / "dir");
  add({folder_.file("dir/\n", "")});
  run();
  const std::string digests = list();
  EXPECT_EQ(std::ranges::count(digests, '\n'), 3);
  EXPECT_THAT(digests, testing::HasSubstr("  dir/\\n\n"));
  outputOf({"sh", "-c", "cd '" + folder_.path().native() + "' && b3sum --check reports/list"});
  fs::remove(reports_ / "list");
  model_->files()->addFiles({fileUrl(folder_.file("\xFF", ""))});
  run();
  EXPECT_EQ(list(), "The name of 1 file is not UTF-8, as lists are: “\u2068\uFFFD\u2069”.");
}

TEST_F(Export, QueueStandsStillMeanwhile) {
  int niceness = -1;
  calls_.before = [&](std::string_view call, std::size_t) {
    niceness = getpriority(PRIO_PROCESS, 0);
    if (call == "open") gate_.pass();
    return 0;
  };
  exportTo(reports_ / "report.csv");
  ASSERT_TRUE(gate_.waitForArrival());
  const auto before = paths();
  tryEverything();
  model_->files()->clearFiles();
  EXPECT_EQ(paths(), before);
  EXPECT_THAT(states(), ElementsAre("complete", "complete"));
  EXPECT_EQ(model_->files()->results().size(), 2U);
  EXPECT_FALSE(model_->files()->isProcessing());

  gate_.open();
  ASSERT_TRUE(exportEnds());
  EXPECT_GE(niceness, 10);
  EXPECT_THAT(reports(), ElementsAre("report.csv"));
  model_->files()->removeJob(idAt(0));
  EXPECT_THAT(paths(), ElementsAre(before[1]));
  model_->files()->clearFiles();
  desktop_.savePanel = nullptr;
  model_->files()->exportResults(FilesFlow::Json);
  EXPECT_FALSE(desktop_.savePanel) << "There is nothing to export";
}

TEST_F(Export, ReportThatIsSavedCanBeShown) {
  FilesFlow& files = *model_->files();
  const fs::path report = reports_ / "report.txt";
  for (const char* remark : {"", ", 1 failed file is not in it", ", 2 failed files are not in it"}) {
    exportTo(report);
    ASSERT_TRUE(exportEnds());
    EXPECT_EQ(files.notice().words + files.notice().place, "Saved to " + displayText(report));
    EXPECT_EQ(files.notice().remark, QLatin1String(remark));
    add({folder_.path() / ("gone" + std::string(remark))});
    run();
    EXPECT_EQ(files.notice().kind, FilesNotice::None) << "It was about the run before";
  }
  add({folder_.path() / "waiting"});
  exportTo(report);
  ASSERT_TRUE(exportEnds());
  EXPECT_EQ(files.notice().remark, ", 4 files are not in it") << "Not all of them failed";
  files.showSavedReport();
  EXPECT_THAT(desktop_.revealed, ElementsAre(report));
}

TEST_F(Export, ShutdownLeavesTheOldReportAndShowsNothing) {
  const fs::path report = folder_.file("reports/report.csv", "old");
  for (const int error : {0, EIO}) {
    SCOPED_TRACE(error);
    gate_.close();
    calls_.before = [&](std::string_view call, std::size_t) {
      if (call != "open") return 0;
      gate_.pass();
      return error;
    };
    exportTo(report);
    ASSERT_TRUE(gate_.waitForArrival());
    model_->shutdown();
    gate_.open();
    ASSERT_TRUE(exportEnds());
    EXPECT_EQ(contentOf(report), "old");
    EXPECT_EQ(model_->files()->notice().kind, FilesNotice::None);
    EXPECT_THAT(reports(), ElementsAre("report.csv"));
    EXPECT_EQ(model_->errorMessage(), QString());
  }
}
}  // namespace

}  // namespace tallyfold::test

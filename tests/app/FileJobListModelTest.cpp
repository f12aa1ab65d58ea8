#include <QAbstractItemModelTester>

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

FileJob jobOf(const std::filesystem::path& path, FileJob::State state) {
  return {Uuid::random(), std::make_shared<const std::filesystem::path>(path), std::move(state)};
}

TEST(FileJobListModelTest, RowsShowWhereTheirJobsStand) {
  ResultByJobID results;
  FileJobListModel model(results);
  const FileJob done = jobOf("/home/a\nb/\xE2\x80\xAEgpj.exe", FileJob::Complete{});
  FileHashResult result{done.id, *done.url, 20'000'000, {}, {}, 0.5};
  result.hashes.insert(HashAlgorithm::crc32, "352441c2");
  result.hashes.insert(HashAlgorithm::md5, "900150983cd24fb0d6963f7d28e17f72");
  results[done.id] = std::make_shared<const FileHashResult>(result);
  const FileJob empty = jobOf("/empty", FileJob::Complete{});
  results[empty.id] = std::make_shared<const FileHashResult>(FileHashResult{empty.id, *empty.url, 0, {}, {}, 0});
  model.append({done, empty, jobOf("/b", FileJob::Failed{"Permission denied"}), jobOf("/c", FileJob::Hashing{0.4}),
                jobOf("/d", FileJob::Queued{})});

  using Model = FileJobListModel;
  struct Row {
    const char* name;
    const char* folder;
    Model::State state;
    double progress;
    const char* message;
    const char* facts;
    std::vector<std::string> digests;
  };
  const std::vector<Row> rows = {
      {"<U+202E>gpj.exe", "/home/a<U+000A>b", Model::Complete, 0, "", "20 MB · 500 ms · 40 MB/s", {"MD5", "CRC-32"}},
      {"empty", "/", Model::Complete, 0, "", "0 bytes · 0 ms · —", {}},
      {"b", "/", Model::Failed, 0, "Permission denied", "", {}},
      {"c", "/", Model::Hashing, 0.4, "", "", {}},
      {"d", "/", Model::Queued, 0, "", "", {}},
  };
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto at = [&](Model::Role role) { return model.data(model.index(static_cast<int>(i)), role); };
    EXPECT_EQ(at(Model::NameRole).toString(), QString::fromUtf8(rows[i].name));
    EXPECT_EQ(at(Model::FolderRole).toString(), QString::fromUtf8(rows[i].folder));
    EXPECT_EQ(at(Model::StateRole).value<Model::State>(), rows[i].state);
    EXPECT_EQ(at(Model::ProgressRole).toDouble(), rows[i].progress);
    EXPECT_EQ(at(Model::MessageRole).toString(), QString::fromUtf8(rows[i].message));
    EXPECT_EQ(at(Model::FactsRole).toString(), QString::fromUtf8(rows[i].facts));
    std::vector<std::string> digests;
    for (const QVariant& digest : at(Model::DigestsRole).toList()) {
      digests.push_back(digest.toMap()[QStringLiteral("algorithm")].toString().toStdString());
    }
    EXPECT_EQ(digests, rows[i].digests);
  }
}

TEST(FileJobListModelTest, ChangesOfABatchAreAnnouncedTogether) {
  const ResultByJobID results;
  FileJobListModel model(results);
  model.append(std::vector(9, jobOf("/a", FileJob::Queued{})));
  QSignalSpy changes(&model, &FileJobListModel::dataChanged);
  {
    const FileJobListModel::Batch outer(model);
    { const FileJobListModel::Batch empty(model); }
    for (const std::size_t row : {5U, 3U, 7U}) model.setState(row, FileJob::Complete{});
    EXPECT_EQ(changes.count(), 0);
  }
  ASSERT_EQ(changes.count(), 1);
  EXPECT_EQ(changes[0][0].toModelIndex().row(), 3);
  EXPECT_EQ(changes[0][1].toModelIndex().row(), 7);
  changes.clear();
  model.setState(0, FileJob::Complete{});
  ASSERT_EQ(changes.count(), 1);
  EXPECT_EQ(changes[0][1].toModelIndex().row(), 0);
}

using FilesModeList = ModelTest;

TEST_F(FilesModeList, KeepsTheContractOfAListModel) {
  // It ends the program at the first breach.
  const QAbstractItemModelTester tester(model_->jobs(), QAbstractItemModelTester::FailureReportingMode::Fatal);
  model_->addFiles(vanishedFiles(3));
  add({folder_.file("a", "abc"), folder_.file("b", "abc")});
  run();
  model_->removeJob(idAt(4));
  model_->removeJob(idAt(0));
  model_->removeJob(idAt(1));
  EXPECT_EQ(model_->jobs()->count(), 2);
  run();
  model_->startProcessing();
  model_->clearFiles();
  EXPECT_EQ(model_->jobs()->count(), 0);
  ASSERT_TRUE(runEnds());
  model_->addFiles(vanishedFiles(1));
  EXPECT_EQ(model_->jobs()->count(), 1);
}

}  // namespace

}  // namespace tallyfold::test

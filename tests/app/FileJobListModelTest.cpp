#include <fstream>

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
  const FileJob empty = jobOf("/home/empty", FileJob::Complete{});
  results[empty.id] = std::make_shared<const FileHashResult>(FileHashResult{empty.id, *empty.url, 0, {}, {}, 0});
  model.append({done, empty, jobOf("/home/b", FileJob::Failed{"Permission denied"}),
                jobOf("/home/c", FileJob::Hashing{0.4}), jobOf("/home/d", FileJob::Queued{})});

  struct Row {
    const char* name;
    const char* folder;
    FileJobListModel::State state;
    double progress;
    const char* message;
    const char* facts;
    qsizetype digests;
  };
  const std::vector<Row> rows = {
      {"<U+202E>gpj.exe", "/home/a<U+000A>b", FileJobListModel::Complete, 0, "", "20 MB · 500 ms · 40 MB/s", 2},
      {"empty", "/home", FileJobListModel::Complete, 0, "", "0 bytes · 0 ms · —", 0},
      {"b", "/home", FileJobListModel::Failed, 0, "Permission denied", "", 0},
      {"c", "/home", FileJobListModel::Hashing, 0.4, "", "", 0},
      {"d", "/home", FileJobListModel::Queued, 0, "", "", 0},
  };
  ASSERT_EQ(model.rowCount(), static_cast<int>(rows.size()));
  for (int i = 0; i < model.rowCount(); ++i) {
    SCOPED_TRACE(i);
    const Row& row = rows[static_cast<std::size_t>(i)];
    const auto at = [&](FileJobListModel::Role role) { return model.data(model.index(i), role); };
    EXPECT_EQ(at(FileJobListModel::JobIdRole).value<Uuid>(), model.idAt(i));
    EXPECT_EQ(at(FileJobListModel::NameRole).toString(), QString::fromUtf8(row.name));
    EXPECT_EQ(at(FileJobListModel::FolderRole).toString(), QString::fromUtf8(row.folder));
    EXPECT_EQ(at(FileJobListModel::StateRole).value<FileJobListModel::State>(), row.state);
    EXPECT_EQ(at(FileJobListModel::ProgressRole).toDouble(), row.progress);
    EXPECT_EQ(at(FileJobListModel::MessageRole).toString(), QString::fromUtf8(row.message));
    EXPECT_EQ(at(FileJobListModel::FactsRole).toString(), QString::fromUtf8(row.facts));
    EXPECT_EQ(at(FileJobListModel::DigestsRole).toList().size(), row.digests);
  }
  const QVariantList digests = model.data(model.index(0), FileJobListModel::DigestsRole).toList();
  EXPECT_EQ(digests[0].toMap(), (QVariantMap{{"algorithm", "MD5"}, {"digest", "900150983cd24fb0d6963f7d28e17f72"}}));
  EXPECT_EQ(digests[1].toMap(), (QVariantMap{{"algorithm", "CRC-32"}, {"digest", "352441c2"}}));
  for (const int row : {-1, 5}) EXPECT_EQ(model.idAt(row), Uuid());
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

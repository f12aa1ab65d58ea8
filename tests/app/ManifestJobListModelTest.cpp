#include <QAbstractItemModelTester>

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

using Model = ManifestJobListModel;

std::vector<ManifestJob> jobsOf(std::vector<ManifestJob::State> states) {
  std::vector<ManifestJob> jobs;
  for (ManifestJob::State& state : states) {
    const auto line = static_cast<std::int64_t>(jobs.size()) + 1;
    const ChecksumManifestEntry entry{Uuid::random(), line, "file " + std::to_string(line), HashAlgorithm::crc32,
                                      "352441c2"};
    jobs.push_back({entry.id, std::make_shared<const ChecksumManifestEntry>(entry), std::move(state)});
  }
  return jobs;
}

// Line numbers of the rows that are shown.
std::vector<int> shown(const Model& model) {
  std::vector<int> lines;
  for (int row = 0; row < model.rowCount(); ++row) {
    lines.push_back(model.index(row).data(Model::LineNumberRole).toInt());
  }
  return lines;
}

TEST(ManifestJobListModelTest, RowsAreShownAndCopiedInTheFixedWords) {
  Model model;
  auto jobs = jobsOf({ManifestJob::Queued{}, ManifestJob::Verifying{}, ManifestJob::Match{},
                      ManifestJob::Mismatch{"352443c2"}, ManifestJob::Failed{"Permission denied"}});
  auto odd = *jobs[4].entry;
  odd.relativePath = "a\tb\nc\xE2\x80\xAE";
  jobs[4].entry = std::make_shared<const ChecksumManifestEntry>(odd);
  model.replaceAll(std::move(jobs));
  EXPECT_EQ(model.text(model.shownJobs(0, model.count())),
            "1\tCRC-32\tfile 1\tQueued\n"
            "2\tCRC-32\tfile 2\tVerifying\n"
            "3\tCRC-32\tfile 3\tMatch\n"
            "4\tCRC-32\tfile 4\tMismatch. Actual: 352443c2\tExpected: 352441c2\n"
            "5\tCRC-32\ta<U+0009>b<U+000A>c<U+202E>\tPermission denied");
  model.setFilter(Model::Failures);
  EXPECT_EQ(model.text(model.shownJobs(0, 1)).count('\t'), 3);
  EXPECT_EQ(model.text(model.shownJobs(1, 1)), QByteArray());
  model.setFilter(Model::Mismatches);
  EXPECT_EQ(model.index(0).data(Model::DifferenceRole).toInt(), 5);
}

TEST(ManifestJobListModelTest, EveryFilterFollowsEveryChange) {
  const unsigned seed = seedOfThisRun();
  std::mt19937 random(seed);
  const std::vector<ManifestJob::State> states = {ManifestJob::Queued{}, ManifestJob::Verifying{}, ManifestJob::Match{},
                                                  ManifestJob::Mismatch{"352443c2"}, ManifestJob::Failed{"x"}};
  const std::array<std::vector<int>, 5> passing = {{{0, 1, 2, 3, 4}, {3}, {4}, {0, 1}, {2}}};
  Model model;
  // It ends the program when the rows that come and go are not those that are announced.
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  constexpr int count = 1'200;
  model.replaceAll(jobsOf(std::vector<ManifestJob::State>(count, ManifestJob::Queued{})));
  int resets = 0;
  QObject::connect(&model, &Model::shownAnew, [&] { ++resets; });
  std::vector<int> mirror = shown(model);  // As a view keeps it, by what it is told.
  QObject::connect(&model, &Model::modelReset, [&] { mirror = shown(model); });
  QObject::connect(&model, &Model::rowsRemoved, [&](const QModelIndex&, int first, int last) {
    mirror.erase(mirror.begin() + first, mirror.begin() + last + 1);
  });
  QObject::connect(&model, &Model::rowsInserted, [&](const QModelIndex&, int first, int last) {
    const std::vector<int> rows = shown(model);
    mirror.insert(mirror.begin() + first, rows.begin() + first, rows.begin() + last + 1);
  });
  for (int turn = 0; turn < 400; ++turn) {
    if (turn % 7 == 0) model.setFilter(static_cast<Model::Filter>(random() % 5));
    if (turn % 50 == 49) model.requeueAll();
    {
      const Model::Batch batch(model);
      const std::size_t changes = turn % 20 == 0 ? count : turn % 20 == 10 ? 60 : random() % 12;
      for (std::size_t n = 0; n < changes; ++n) model.setState(random() % count, states[random() % states.size()]);
    }
    std::vector<int> expected;
    std::array<int, 5> counts{};
    for (int job = 0; job < count; ++job) {
      const int state = static_cast<int>(model.jobs()[static_cast<std::size_t>(job)].state.index());
      for (std::size_t filter = 0; filter < passing.size(); ++filter) {
        if (!std::ranges::count(passing[filter], state)) continue;
        ++counts[filter];
        if (model.filter() == static_cast<int>(filter)) expected.push_back(job + 1);
      }
    }
    ASSERT_EQ(shown(model), expected) << "turn " << turn << ", filter " << model.filter();
    ASSERT_EQ(mirror, expected) << "turn " << turn << ", filter " << model.filter();
    ASSERT_EQ(model.counts(), QList<int>(counts.begin(), counts.end()));
  }
  EXPECT_GT(resets, 0) << "Nothing changed so much at once that the rows were shown anew";
}

}  // namespace

}  // namespace tallyfold::test

// The rows of a checksum list, and the sentence about all of them.

#include <QAbstractItemModelTester>

#include "tests/app/ModelTest.h"

namespace tallyfold::test {

namespace {

using Model = ManifestJobListModel;

const std::vector<ManifestJob::State> states = {ManifestJob::Queued{}, ManifestJob::Verifying{}, ManifestJob::Match{},
                                                ManifestJob::Mismatch{"352443c2"},
                                                ManifestJob::Failed{"Permission denied"}};

// The fifth of them has an odd name.
std::vector<ManifestJob> jobsOf(const std::vector<ManifestJob::State>& wanted) {
  std::vector<ManifestJob> jobs;
  for (const ManifestJob::State& state : wanted) {
    const auto line = static_cast<std::int64_t>(jobs.size()) + 1;
    const std::string name = line == 5 ? "a\tb\nc\xE2\x80\xAE" : "file " + std::to_string(line);
    const ChecksumManifestEntry entry{Uuid::random(), line, name, HashAlgorithm::crc32, "352441c2"};
    jobs.push_back({entry.id, std::make_shared<const ChecksumManifestEntry>(entry), state});
  }
  return jobs;
}

TEST(ManifestJobListModelTest, RowsAreShownAndCopiedInTheFixedWords) {
  Model model;
  model.replaceAll({jobsOf(states)});
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
  model.setSearch(QStringLiteral("4"));
  EXPECT_EQ(model.showFirst(Model::Failures), 4) << "what hides it is shown";
  EXPECT_EQ(model.count(), 5);
}

TEST(ManifestJobListModelTest, MarksGoWithRowsThatLeaveTheFilter) {
  Model model;
  model.replaceAll({jobsOf(std::vector<ManifestJob::State>(3, ManifestJob::Queued{}))});
  model.setFilter(Model::Waiting);
  model.markOnly(0, 1);
  model.setState(0, ManifestJob::Match{});
  EXPECT_EQ(model.markedJobs(), std::vector<std::uint32_t>{1});
  model.setFilter(Model::Matches);
  EXPECT_EQ(model.markedCount(), 0);
}

TEST(ManifestJobListModelTest, EveryFilterFollowsEveryChange) {
  std::mt19937 random(seedOfThisRun());
  const std::vector<std::pair<Model::Filter, std::vector<int>>> passing = {{Model::All, {0, 1, 2, 3, 4}},
                                                                           {Model::Mismatches, {3}},
                                                                           {Model::Failures, {4}},
                                                                           {Model::Waiting, {0, 1}},
                                                                           {Model::Matches, {2}}};
  Model model;
  // It ends the program when the rows that come and go are not those that are announced.
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  constexpr int count = 1'200;
  model.replaceAll({jobsOf(std::vector<ManifestJob::State>(count, ManifestJob::Queued{}))});
  QSignalSpy resets(&model, &Model::shownAnew);
  for (int turn = 0; turn < 400; ++turn) {
    if (turn % 7 == 0) model.setFilter(passing.at(random() % 5).first);
    if (turn % 11 == 0) model.setSearch(QString::fromLatin1(std::array{"", "1", "LE 8"}.at(random() % 3)));
    ASSERT_TRUE(reached([&] { return !model.isSearching(); }));
    if (turn % 50 == 49) model.requeueAll();
    {
      const Model::Batch batch(model);
      const std::size_t changes = turn % 20 == 0 ? count : turn % 20 == 10 ? 60 : random() % 12;
      for (std::size_t n = 0; n < changes; ++n) model.setState(random() % count, states[random() % states.size()]);
    }
    std::vector<int> expected;
    std::map<Model::Filter, int> counts;
    for (int job = 0; job < count; ++job) {
      const int state = static_cast<int>(model.jobs()[static_cast<std::size_t>(job)].state.index());
      for (const auto& [filter, passed] : passing) {
        if (!std::ranges::count(passed, state)) continue;
        ++counts[filter];
        const std::string& name = model.jobs()[static_cast<std::size_t>(job)].entry->relativePath;
        const bool isFound = name.find(model.search().toLower().toStdString()) != std::string::npos;
        if (model.filter() == filter && isFound) expected.push_back(job + 1);
      }
    }
    std::vector<int> shown;
    for (int row = 0; row < model.rowCount(); ++row) {
      shown.push_back(model.index(row).data(Model::LineNumberRole).toInt());
    }
    ASSERT_EQ(shown, expected) << "turn " << turn << ", filter " << model.filter();
    for (const auto& [filter, passed] : passing) ASSERT_EQ(model.count(filter), counts[filter]);
  }
  EXPECT_GT(resets.count(), 0) << "Nothing changed so much at once that the rows were shown anew";
}

TEST(ManifestJobListModelTest, LongSearchGoesOnInTurnsOfItsOwn) {
  const auto name = std::string(20'000, 'a') + "b";
  const auto entry = std::make_shared<const ChecksumManifestEntry>(
      ChecksumManifestEntry{Uuid::random(), 1, name, HashAlgorithm::crc32, "352441c2"});
  Model model;
  model.replaceAll({std::vector<ManifestJob>(2'000, ManifestJob{entry->id, entry, ManifestJob::Queued{}})});
  model.setSearch(QStringLiteral("ac"));
  EXPECT_TRUE(model.isSearching()) << "40 MB were searched in one turn";
  EXPECT_EQ(model.count(), 2'000);
  ASSERT_TRUE(reached([&] { return !model.isSearching(); }));
  EXPECT_EQ(model.count(), 0);
}

using Stage = ManifestTally::Stage;

TEST(ManifestVerdictTest, OneSentenceSaysWhatWasAndWhatWasNotVerified) {
  const struct {
    ManifestTally tally;
    Tone::Case tone;
    const char* words;
  } cases[] = {
      {{.stage = Stage::reading}, Tone::Pending, "Reading checksum file… | "},
      {{.hasRoot = true, .unsupportedLines = 3},
       Tone::Caution,
       "Nothing to verify | 3 lines are not understood and were not checked."},
      {{.waiting = 1204},
       Tone::Pending,
       "1,204 entries, not verified yet | Choose the root folder, from which the list's paths start."},
      {{.stage = Stage::running, .matched = 200, .mismatched = 1, .failed = 1, .waiting = 2},
       Tone::Bad,
       "So far 1 entry does not match, 1 could not be checked | 202 of 204 entries checked."},
      {{.stage = Stage::ended, .matched = 2, .ignoredLines = 1},
       Tone::Good,
       "All 2 entries match | Every entry was checked. 1 line is blank or a comment."},
      {{.stage = Stage::ended, .matched = 1204, .unsupportedLines = 1},
       Tone::Caution,
       "1,204 entries match, but 1 line could not be checked | A line that is not understood may be meant for a file: "
       "see the warnings."},
      {{.stage = Stage::ended, .mismatched = 2}, Tone::Bad, "2 entries do not match | "},
      {{.stage = Stage::ended, .mismatched = 1}, Tone::Bad, "The only entry does not match | "},
      {{.stage = Stage::ended, .failed = 1}, Tone::Bad, "The only entry could not be checked | "},
      {{.stage = Stage::ended, .failed = 7, .missing = 7},
       Tone::Bad,
       "7 entries could not be checked | The files of all 7 entries are missing. Is this the right root folder?"},
      {{.stage = Stage::ended, .failed = 1, .missing = 1, .missingQuoted = 1},
       Tone::Bad,
       "The only entry could not be checked | Its file is missing. Perhaps the quotes are not part of the name."},
      {{.stage = Stage::ended, .failed = 7, .missing = 6, .absolutePaths = 1},
       Tone::Bad,
       "7 entries could not be checked | 1 entry has an absolute name, which is never followed."},
      {{.stage = Stage::ended, .matched = 2, .failed = 3, .rootChanged = 3},
       Tone::Bad,
       "3 entries could not be checked | The folder changed while it was verified. 2 of 5 entries match."},
      {{.stage = Stage::ended, .mismatched = 21, .hasBareDigests = true},
       Tone::Bad,
       "21 entries do not match | The list may be of another algorithm with checksums of this length."},
      {{.stage = Stage::ended, .mismatched = 2, .hasBareDigests = true, .otherAlgorithm = "SHA-3"},
       Tone::Bad,
       "2 entries do not match | A comment in the list speaks of SHA-3, which has checksums of "
       "this length and is not supported."},
      {{.stage = Stage::ended,
        .mismatched = 2,
        .failed = 1,
        .hasBareDigests = true,
        .otherAlgorithm = "BLAKE2b",
        .isOtherAlgorithmInName = true},
       Tone::Caution,
       "2 entries do not match, 1 could not be checked | The list's name speaks of BLAKE2b, which has "
       "checksums of this length and is not supported."},
      {{.stage = Stage::ended,
        .matched = 1,
        .mismatched = 2,
        .hasBareDigests = true,
        .otherAlgorithm = "BLAKE2b",
        .isOtherAlgorithmInName = true},
       Tone::Bad,
       "2 entries do not match | 1 of 3 entries match."},
      {{.stage = Stage::ended, .matched = 2, .isSigned = true},
       Tone::Good,
       "All 2 entries match | Every line of the list was checked. The signature was not checked."},
      {{.unsupportedLines = 3, .ambiguousLines = 2, .candidates = "SHA-256 or BLAKE3", .digestLength = 64},
       Tone::Caution,
       "The list does not say which algorithm it is of | 2 lines have checksums of 64 characters, which can be SHA-256 "
       "or BLAKE3. 1 line is not understood and was not checked."},
      {{.stage = Stage::cancelled, .matched = 4, .mismatched = 1, .waiting = 9},
       Tone::Bad,
       "1 entry does not match, 9 were not checked | The verification was cancelled. 4 of 14 entries match."},
  };
  for (const auto& [tally, tone, words] : cases) {
    const ManifestVerdict verdict = manifestVerdict(tally);
    EXPECT_EQ(verdict.title + QStringLiteral(" | ") + verdict.details, QString::fromUtf8(words));
    EXPECT_EQ(verdict.tone, tone) << words;
  }
}

TEST(ManifestVerdictTest, GreenMeansThatEverythingWasCheckedAndMatches) {
  for (const Stage stage :
       {Stage::none, Stage::reading, Stage::running, Stage::cancelled, Stage::stoppedByError, Stage::ended}) {
    for (int bits = 0; bits < 128; ++bits) {
      const auto bit = [&](int number) { return (bits >> number) & 1; };
      const ManifestVerdict verdict = manifestVerdict({.stage = stage,
                                                       .readError = bit(0) != 0 ? "Input/output error" : "",
                                                       .hasRoot = true,
                                                       .matched = bit(1),
                                                       .mismatched = bit(2),
                                                       .failed = bit(3),
                                                       .waiting = bit(4),
                                                       .ignoredLines = bit(5),
                                                       .unsupportedLines = bit(6)});
      const bool isAllWell = stage == Stage::ended && (bits & ~(1 << 5)) == (1 << 1);
      EXPECT_EQ(verdict.tone == Tone::Good, isAllWell) << bits;
      EXPECT_EQ(verdict.kind == ManifestVerdict::AllMatch, isAllWell) << bits;
      EXPECT_FALSE(verdict.title.isEmpty());
    }
  }
}
}  // namespace

}  // namespace tallyfold::test

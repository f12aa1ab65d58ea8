#include <gmock/gmock.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "app/manifest/ManifestVerdict.h"

namespace tallyfold::test {

namespace {

using RunState = ManifestTally::Run;
using Tone = ManifestVerdict::Tone;

TEST(ManifestVerdictTest, OneSentenceSaysWhatWasAndWhatWasNotVerified) {
  // The tone, the title, and what stands below it.
  const std::vector<std::pair<ManifestTally, std::string>> cases = {
      {{.run = RunState::reading}, "pending: Reading checksum file… | "},
      {{.readError = "Permission denied"}, "bad: The checksum list was not read | Permission denied"},
      {{.ignoredLines = 3}, "caution: Nothing to verify | The list has no entries."},
      {{.hasRoot = true, .unsupportedLines = 3},
       "caution: Nothing to verify | 3 lines are not understood and were not checked."},
      {{.waiting = 1204},
       "pending: 1,204 entries, not verified yet | Choose the root folder, from which the list's paths start."},
      {{.hasRoot = true, .waiting = 1},
       "pending: 1 entry, not verified yet | Ready to be checked against the files in the root folder."},
      {{.run = RunState::running, .matched = 200, .mismatched = 1, .failed = 1, .waiting = 2},
       "bad: So far 1 entry does not match, 1 could not be checked | 202 of 204 entries checked."},
      {{.run = RunState::ended, .matched = 1}, "good: The only entry matches | Every line of the list was checked."},
      {{.run = RunState::ended, .matched = 2, .ignoredLines = 1},
       "good: All 2 entries match | Every entry was checked. 1 line is blank or a comment."},
      {{.run = RunState::ended, .matched = 1204, .unsupportedLines = 1},
       "caution: 1,204 entries match, but 1 line could not be checked | A line that is not understood may be meant for "
       "a file: see the warnings."},
      {{.run = RunState::ended, .matched = 1203, .failed = 1, .unsupportedLines = 2},
       "bad: 1 entry could not be checked | 1,203 of 1,204 entries match. 2 lines are not understood and were not "
       "checked."},
      {{.run = RunState::ended, .mismatched = 2}, "bad: 2 entries do not match | 0 of 2 entries match."},
      {{.run = RunState::ended, .failed = 7}, "bad: 7 entries could not be checked | Is this the right root folder?"},
      {{.run = RunState::cancelled, .matched = 4, .mismatched = 1, .waiting = 9},
       "bad: 1 entry does not match, 9 were not checked | The verification was cancelled. 4 of 14 entries match."},
      {{.run = RunState::cancelled, .matched = 4}, "caution: The verification did not come to its end | "},
      {{.run = RunState::stoppedByError, .waiting = 5},
       "caution: 5 entries were not checked | The verification was stopped by an error. 0 of 5 entries match."},
  };
  const std::map<Tone, std::string> tones = {
      {Tone::pending, "pending"}, {Tone::good, "good"}, {Tone::caution, "caution"}, {Tone::bad, "bad"}};
  for (const auto& [tally, expected] : cases) {
    const ManifestVerdict verdict = manifestVerdict(tally);
    const QString text = verdict.title + QStringLiteral(" | ") + verdict.details;
    EXPECT_EQ(tones.at(verdict.tone) + ": " + text.toStdString(), expected);
  }
}

TEST(ManifestVerdictTest, GreenMeansThatEverythingWasCheckedAndMatches) {
  for (const RunState run : {RunState::none, RunState::reading, RunState::running, RunState::cancelled,
                             RunState::stoppedByError, RunState::ended}) {
    for (int bits = 0; bits < 128; ++bits) {
      const auto bit = [&](int number) { return (bits >> number) & 1; };
      const ManifestTally tally{.run = run,
                                .readError = bit(0) != 0 ? "Input/output error" : "",
                                .hasRoot = true,
                                .matched = bit(1),
                                .mismatched = bit(2),
                                .failed = bit(3),
                                .waiting = bit(4),
                                .ignoredLines = bit(5),
                                .unsupportedLines = bit(6)};
      const bool isAllWell = run == RunState::ended && (bits & ~(1 << 5)) == (1 << 1);
      const ManifestVerdict verdict = manifestVerdict(tally);
      EXPECT_EQ(verdict.tone == Tone::good, isAllWell) << bits;
      EXPECT_EQ(verdict.icon.startsWith("checkmark"), isAllWell) << bits;
      EXPECT_FALSE(verdict.title.isEmpty());
    }
  }
}

}  // namespace

}  // namespace tallyfold::test

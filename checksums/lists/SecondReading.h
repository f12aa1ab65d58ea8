#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "checksums/forms/Form.h"
#include "checksums/lists/ListReading.h"

namespace tallyfold::ChecksumManifestService {

/// Offers the lines that `processLine` leaves unsupported to the other forms, in the order of one table. For one list.
class SecondReading : private FormEntries {
 public:
  SecondReading(const std::filesystem::path& list, ReadingChoice choice);
  ~SecondReading() override;
  SecondReading(const SecondReading&) = delete;
  SecondReading& operator=(const SecondReading&) = delete;

  /// Adds one line to `result` as `processLine` does, and reads it when it is of one of the forms.
  void processLine(std::string_view line, std::int64_t number, std::optional<HashAlgorithm> preferred,
                   ParseResult& result);

  /// Entries of the lines so far that have their algorithm only because of the length of their digest.
  [[nodiscard]] std::int64_t bareDigestCount() const { return reading_.bareDigestCount; }

  /// Behind the last line: what of `result` is left to do.
  ListReading finish(ParseResult result);

 private:
  struct UnsupportedLine {
    std::int64_t number;
    std::string warning;
  };
  struct Candidate {
    std::unique_ptr<Form> form;
    std::int64_t begunLineCount = 0;       ///< Lines that it may come to read.
    std::vector<UnsupportedLine> begun{};  ///< The first of them: no more than there can be warnings.
  };

  void offer(const UnreadLine& line, std::string warning);
  void lookForOtherAlgorithm(std::string_view comment);
  void release(Candidate& candidate);
  void warn(UnsupportedLine line);
  void makeNamesRelative();

  void add(const UnreadLine& line, std::string name, HashAlgorithm algorithm, std::string_view digits) override;
  void noteSize(std::int64_t bytes) override;
  void noteAmbiguity(HashAlgorithmSet candidates) override { ambiguity_ = candidates; }
  void noteBareDigest() override { ++reading_.bareDigestCount; }
  void noteSignature() override { reading_.isSigned = true; }

  std::filesystem::path list_;
  ReadingChoice choice_;
  std::vector<Candidate> candidates_;      // In the order of the table.
  ParseResult* result_ = nullptr;          // What the lines so far came to.
  HashAlgorithmSet ambiguity_;             // Of the line being read.
  int searchedCommentCount_ = 0;           // Comments that were searched for the name of an algorithm.
  std::vector<UnsupportedLine> warnings_;  // In the order of the lines.
  std::vector<std::size_t> fullNames_;     // Indices of entries.
  ListReading reading_;
};

}  // namespace tallyfold::ChecksumManifestService

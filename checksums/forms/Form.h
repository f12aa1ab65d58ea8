#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "checksums/lines/ChecksumLines.h"

namespace tallyfold::ChecksumManifestService {

/// A line with more digests is of no form: each would keep its name once more.
inline constexpr std::size_t maximumDigestsOfLine = 64;

/// A line of a list that `processLine` counts as unsupported, without its line break.
struct UnreadLine {
  std::string_view text;
  std::int64_t number = 0;
  std::optional<HashAlgorithm> preferred;  ///< Decides where the length of a digest leaves a choice.
};

/// What became of a line.
enum class Taking {
  no,       ///< It is not of this form.
  yes,      ///< It was read, and with it what was begun before.
  begun,    ///< It is of this form if what belongs to it follows; otherwise it is not understood.
  givenUp,  ///< It is not of this form, nor is what was begun before.
};

/// Where forms put what they read.
class FormEntries {
 public:
  virtual ~FormEntries() = default;

  /// Adds an entry. `digits` are hexadecimal, in any case, as many as `algorithm` has. A name that starts at the root
  /// of a file system is replaced by one that starts at the folder that all such names of the list share.
  virtual void add(const UnreadLine& line, std::string name, HashAlgorithm algorithm, std::string_view digits) = 0;

  /// How many bytes the file of the entry that was added last has, as the list says.
  virtual void noteSize(std::int64_t bytes) = 0;

  /// The line would be read if an algorithm was chosen among these.
  virtual void noteAmbiguity(HashAlgorithmSet candidates) = 0;

  /// The entry that was added last has its algorithm only because of the length of its digest.
  virtual void noteBareDigest() = 0;

  /// The list is wrapped in a signature.
  virtual void noteSignature() = 0;
};

/// One way to write checksums down, beside those that `processLine` reads. It is made for one reading of one list, and
/// is offered the lines in their order.
class Form {
 public:
  Form() = default;
  virtual ~Form() = default;
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  virtual Taking take(const UnreadLine& line, FormEntries& entries) = 0;

  /// Called behind the last line where something was begun. Whether it is read after all. `isAlone`: the list holds
  /// nothing else but blank lines and comments.
  virtual bool finish(bool /*isAlone*/, FormEntries& /*entries*/) { return false; }
};

/// A form whose lines say all by themselves: `read` adds their entries, or does nothing and is false.
template <bool read(const UnreadLine&, FormEntries&)>
class FormOfLines : public Form {
 public:
  Taking take(const UnreadLine& line, FormEntries& entries) override {
    return read(line, entries) ? Taking::yes : Taking::no;
  }
};

// The forms, each in a source of its own name. `list` is the path of the list.
std::unique_ptr<Form> signedMessageForm(const std::filesystem::path& list);
std::unique_ptr<Form> escapedTagForm(const std::filesystem::path& list);
std::unique_ptr<Form> opensslForm(const std::filesystem::path& list);
std::unique_ptr<Form> textReportForm(const std::filesystem::path& list);
std::unique_ptr<Form> csvForm(const std::filesystem::path& list);
std::unique_ptr<Form> jsonReportForm(const std::filesystem::path& list);
std::unique_ptr<Form> hashdeepForm(const std::filesystem::path& list);
std::unique_ptr<Form> fileHashTableForm(const std::filesystem::path& list);
std::unique_ptr<Form> fileHashListForm(const std::filesystem::path& list);
std::unique_ptr<Form> certutilForm(const std::filesystem::path& list);
std::unique_ptr<Form> oneBlankForm(const std::filesystem::path& list);
std::unique_ptr<Form> nameFirstForm(const std::filesystem::path& list);
std::unique_ptr<Form> loneDigestForm(const std::filesystem::path& list);

/// Whether these are the digits of a digest of `algorithm`.
bool isDigestOf(HashAlgorithm algorithm, std::string_view digits);

/// The algorithm of a digest of which nothing but the digits is known. None where that leaves a choice, of which
/// `entries` is told, or where no algorithm has such digests.
std::optional<HashAlgorithm> algorithmOfDigits(const UnreadLine& line, std::string_view digits, FormEntries& entries);

/// Takes the text up to the first run of blanks (spaces and tabs) off the start of `text`, and the run too.
std::string_view takeWord(std::string_view& text);

}  // namespace tallyfold::ChecksumManifestService

#pragma once

#include <array>
#include <exception>
#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>

#include "core/files/FileHandle.h"
#include "core/services/FileHashResult.h"

namespace tallyfold {

/// The failure of a report that has no error number of the system. `what()` is the sentence for the user.
class ManifestServiceError : public std::exception {
 public:
  enum class Case { fileWriteUnknown, notAFile };

  explicit ManifestServiceError(Case value) : value_(value) {}
  [[nodiscard]] Case value() const { return value_; }
  [[nodiscard]] const char* what() const noexcept override;

 private:
  Case value_;
};

/// Reports of checksums. Stateless: every operation may run on any number of threads at once.
///
/// A report names files by `FileHashResult::url` as it is, so callers pass absolute ones. It is well-formed UTF-8
/// whatever the names are made of: what is not UTF-8 in a name is shown as U+FFFD (see `reportedPath`), and every file
/// keeps its rows. A line break in a name is escaped in JSON, quoted in CSV, and breaks the line in plain text.
namespace ManifestService {

enum class Format { plainText, csv, json };

/// In the order of menus.
constexpr std::array<Format, 3> allFormats() { return {Format::plainText, Format::csv, Format::json}; }

/// "txt", "csv" or "json".
std::string_view fileExtension(Format format);

/// The lines of a result in a plain-text report, each with its line break.
std::string plainTextLines(const FileHashResult& result);

/// Saves a report as `destination`, or fails and leaves `destination` as it was. Others see the complete old file or
/// the complete new report at every moment, also after a crash: the report is made, and forced to the disk, in a
/// private hidden folder beside the destination, and then renamed. That folder is removed before the call ends, however
/// it ends; one that an earlier process could not remove is removed first (see ReplacementFolder).
///
/// A symbolic link at the destination is replaced, never followed: in a folder that others may write to, it could lead
/// to any file of the user's. Links in the path of the folder are followed, once. The new report is readable and
/// writable for nobody for whom the file that it replaces was not (see keepAccess); a new file's permissions follow the
/// umask and the folder's access control list. Extended attributes are not kept.
///
/// Failures: CancellationError when `cancellation` was requested before the rename; notAFile when there is a pipe, a
/// device or a socket at the destination; fileWriteUnknown when no file can be made in the folder; otherwise a
/// std::system_error with the system's number (folder vanished or read-only, disk full, destination is a folder, ...).
void write(const FileHashResults& results, Format format, const std::filesystem::path& destination,
           const std::stop_token& cancellation);

/// Writes a whole report to `handle` and closes it, on success and on failure alike. On success a regular file is also
/// on the disk. Cancellation is seen before each result and before waiting for the disk. After a failure the file holds
/// some part of the report.
void writeContents(const FileHashResults& results, Format format, FileHandle handle,
                   const std::stop_token& cancellation);

}  // namespace ManifestService

}  // namespace tallyfold

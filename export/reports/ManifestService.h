#pragma once

#include <array>
#include <filesystem>
#include <stop_token>
#include <string>
#include <string_view>

#include "core/files/FileHandle.h"
#include "core/services/FileHashResult.h"

namespace tallyfold {

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

/// Saves a report as `destination`, whole or not at all: fails as `writeAtomically`, and with CancellationError before
/// any result.
void write(const FileHashResults& results, Format format, const std::filesystem::path& destination,
           const std::stop_token& cancellation);

/// Writes a whole report to `handle` and closes it, on success and on failure alike. On success a regular file is also
/// on the disk. Cancellation is seen before each result and before waiting for the disk. After a failure the file holds
/// some part of the report.
void writeContents(const FileHashResults& results, Format format, FileHandle handle,
                   const std::stop_token& cancellation);

}  // namespace ManifestService

}  // namespace tallyfold

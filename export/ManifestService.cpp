#include "export/ManifestService.h"

#include <fcntl.h>
#include <string>
#include <system_error>

#include "core/services/HashService.h"
#include "export/BufferedFileWriter.h"
#include "export/ManifestRecord.h"
#include "export/ReplacedFile.h"
#include "export/ReplacementFolder.h"

namespace tallyfold {

namespace fs = std::filesystem;

const char* ManifestServiceError::what() const noexcept {
  return value_ == Case::notAFile ? "What has this name is not a file. Choose another name for the report."
                                  : "The report could not be written.";
}

namespace ManifestService {

namespace {

FileHandle createFile(const FolderHandle& folder, const std::string& name, mode_t mode) {
  try {
    return folder.openFile(name, O_WRONLY | O_CREAT | O_EXCL, mode);
  } catch (const std::system_error&) {
    throw ManifestServiceError(ManifestServiceError::Case::fileWriteUnknown);
  }
}

void appendQuoted(std::string& text, std::string_view field) {
  text += '"';
  for (const char character : field) {
    if (character == '"') text += '"';
    text += character;
  }
  text += '"';
}

void appendCsv(BufferedFileWriter& writer, const FileHashResult& result) {
  std::string rowStart = "\n";
  appendQuoted(rowStart, reportedPath(result.url));
  rowStart += ",\"";
  std::string rowEnd = ",";
  rowEnd += std::to_string(result.fileSize);
  for (const HashAlgorithm algorithm : result.hashes.algorithms()) {
    writer.append(rowStart);
    writer.append(algorithm.rawValue());
    writer.append("\",");
    writer.append(*result.hashes.find(algorithm));
    writer.append(rowEnd);
  }
}

void appendJson(BufferedFileWriter& writer, const FileHashResult& result, bool isFirst) {
  std::string object;
  if (!isFirst) object = ",\n";
  ManifestRecord::from(result).appendJson(object);
  writer.append(object);
}

void writeReport(const FileHashResults& results, Format format, FileHandle& handle,
                 const std::stop_token& cancellation) {
  BufferedFileWriter writer(handle);
  if (format == Format::csv) writer.append("file,algorithm,hash,size_bytes");
  if (format == Format::json) writer.append("[\n");
  bool isFirst = true;
  for (const auto& result : results) {
    HashService::checkCancellation(cancellation);
    switch (format) {
      case Format::plainText:
        writer.append(plainTextLines(*result));
        break;
      case Format::csv:
        appendCsv(writer, *result);
        break;
      case Format::json:
        appendJson(writer, *result, isFirst);
        break;
    }
    isFirst = false;
  }
  if (format == Format::json) writer.append("\n]");
  writer.flush();
  HashService::checkCancellation(cancellation);
  handle.sync();
}

/// A name in an open folder.
struct Place {
  const FolderHandle& folder;
  const std::string& name;
};

void atomicRename(const Place& source, const Place& destination) {
  source.folder.rename(source.name, destination.folder, destination.name);
}

}  // namespace

std::string plainTextLines(const FileHashResult& result) {
  std::string lines;
  const std::string path = reportedPath(result.url);
  for (const HashAlgorithm algorithm : result.hashes.algorithms()) {
    lines.append(algorithm.rawValue()).append("  ").append(*result.hashes.find(algorithm));
    lines.append("  ").append(path).append("\n");
  }
  return lines;
}

std::string_view fileExtension(Format format) {
  switch (format) {
    case Format::plainText:
      return "txt";
    case Format::csv:
      return "csv";
    case Format::json:
      return "json";
  }
  return {};
}

void write(const FileHashResults& results, Format format, const fs::path& destination,
           const std::stop_token& cancellation) {
  const FolderHandle folder = FolderHandle::open(destination.parent_path());
  const std::string name = destination.filename();
  // Whoever may move folders about in this one could put one of theirs in the place of the private one.
  const mode_t mode = checkReplaceable(folder, name) ? 0600 : 0666;
  ReplacementFolder::removeAbandoned(folder, cancellation);
  const ReplacementFolder privateFolder(folder);
  FileHandle report = createFile(privateFolder.folder(), privateFolder.fileName(), mode);
  writeReport(results, format, report, cancellation);
  keepAccess(folder, name, report);
  report.close();
  HashService::checkCancellation(cancellation);
  atomicRename({privateFolder.folder(), privateFolder.fileName()}, {folder, name});
}

void writeContents(const FileHashResults& results, Format format, FileHandle handle,
                   const std::stop_token& cancellation) {
  writeReport(results, format, handle, cancellation);
  handle.close();
}

}  // namespace ManifestService

}  // namespace tallyfold

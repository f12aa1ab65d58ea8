#include "export/ManifestService.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <system_error>

#include "core/Errors.h"
#include "core/Uuid.h"
#include "export/BufferedFileWriter.h"
#include "export/ManifestRecord.h"

namespace tallyfold {

namespace fs = std::filesystem;

const char* ManifestServiceError::what() const noexcept { return "The report could not be written."; }

namespace ManifestService {

namespace {

/// As many as the kernel follows (path_resolution(7)).
constexpr int maximumLinks = 40;

void checkCancellation(const std::stop_token& cancellation) {
  if (cancellation.stop_requested()) throw CancellationError();
}

/// What `action` gives, or nothing when what it is about is not there.
template <typename Action>
auto unlessMissing(Action action) -> decltype(action()) {
  try {
    return action();
  } catch (const std::system_error& error) {
    if (error.code().value() != ENOENT) throw;
    return std::nullopt;
  }
}

/// A private, hidden folder beside a file, with room for one file, removed with that.
class ReplacementFolder {
 public:
  explicit ReplacementFolder(const fs::path& neighbour)
      : path_(neighbour.parent_path() / (".tallyfold-" + Uuid::random().string())),
        file_(path_ / Uuid::random().string()) {
    makeFolder(path_, S_IRWXU);
  }
  ~ReplacementFolder() {
    ignoringFailure(removeFile, file_);  // It is gone already when it has been renamed.
    ignoringFailure(removeFolder, path_);
  }
  ReplacementFolder(const ReplacementFolder&) = delete;
  ReplacementFolder& operator=(const ReplacementFolder&) = delete;

  [[nodiscard]] const fs::path& file() const { return file_; }

 private:
  static void ignoringFailure(void (*remove)(const fs::path&), const fs::path& path) {
    try {
      remove(path);
    } catch (const std::system_error&) {
      // Nothing can be done about it, and the report is what it is.
    }
  }

  fs::path path_;
  fs::path file_;
};

/// The path at the end of the chain of links that starts at `path`, whether or not there is a file. A link that cannot
/// be read is a failure: to take it for a file would replace it.
fs::path followLinks(fs::path path) {
  for (int links = 0; links <= maximumLinks; ++links) {
    const auto target = unlessMissing([&] { return targetOfLink(path.native()); });
    if (!target) return path;
    path = path.parent_path() / *target;
  }
  throw std::system_error(ELOOP, std::system_category());
}

/// Gives `copy` the permission bits of `original` if that is a regular file. File systems without permissions report
/// the same for all files and may refuse to set any, so equal ones are left alone. Bits that cannot be told are a
/// failure: a private report would be made public.
void copyPermissions(const fs::path& original, const fs::path& copy) {
  const auto wanted = unlessMissing([&] { return permissionsOfFile(original); });
  if (wanted && wanted != permissionsOfFile(copy)) setPermissions(copy, *wanted);
}

FileHandle createFile(const fs::path& path) {
  try {
    return FileHandle::open(path, O_WRONLY | O_CREAT | O_EXCL, 0666);
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

void appendPlainText(BufferedFileWriter& writer, const FileHashResult& result) {
  std::string lineEnd = "  ";
  lineEnd.append(reportedPath(result.url)).append("\n");
  for (const HashAlgorithm algorithm : result.hashes.algorithms()) {
    writer.append(algorithm.rawValue());
    writer.append("  ");
    writer.append(*result.hashes.find(algorithm));
    writer.append(lineEnd);
  }
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

}  // namespace

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
  const fs::path file = followLinks(destination);
  const ReplacementFolder folder(file);
  writeContents(results, format, createFile(folder.file()), cancellation);
  checkCancellation(cancellation);
  copyPermissions(file, folder.file());
  atomicRename(folder.file(), file);
}

void writeContents(const FileHashResults& results, Format format, FileHandle handle,
                   const std::stop_token& cancellation) {
  BufferedFileWriter writer(handle);
  if (format == Format::csv) writer.append("file,algorithm,hash,size_bytes");
  if (format == Format::json) writer.append("[\n");
  bool isFirst = true;
  for (const auto& result : results) {
    checkCancellation(cancellation);
    switch (format) {
      case Format::plainText:
        appendPlainText(writer, *result);
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
  handle.sync();
  handle.close();
}

void atomicRename(const fs::path& source, const fs::path& destination) { renameFile(source, destination); }

}  // namespace ManifestService

}  // namespace tallyfold

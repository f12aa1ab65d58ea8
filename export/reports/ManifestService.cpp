#include "export/reports/ManifestService.h"

#include <string>

#include "core/services/HashService.h"
#include "export/reports/ManifestRecord.h"
#include "export/reports/ReportText.h"
#include "export/saving/AtomicWrite.h"
#include "export/saving/BufferedFileWriter.h"

namespace tallyfold {

namespace fs = std::filesystem;

namespace ManifestService {

namespace {

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
  writeAtomically(destination, cancellation,
                  [&](FileHandle& report) { writeReport(results, format, report, cancellation); });
}

void writeContents(const FileHashResults& results, Format format, FileHandle handle,
                   const std::stop_token& cancellation) {
  writeReport(results, format, handle, cancellation);
  HashService::checkCancellation(cancellation);
  handle.sync();
  handle.close();
}

}  // namespace ManifestService

}  // namespace tallyfold

#include "export/reports/VerificationReport.h"

#include <array>
#include <optional>
#include <utility>

#include "core/services/HashService.h"
#include "export/reports/ManifestRecord.h"
#include "export/reports/ReportText.h"
#include "export/saving/AtomicWrite.h"
#include "export/saving/BufferedFileWriter.h"

namespace tallyfold {

namespace {

using Status = VerificationReport::Status;
using Format = ManifestService::Format;

constexpr std::array kListAlgorithms{HashAlgorithm::sha256, HashAlgorithm::blake3};

std::string_view wordFor(Status status) {
  switch (status) {
    case Status::match:
      return "match";
    case Status::mismatch:
      return "mismatch";
    case Status::failed:
      return "failed";
    case Status::unchecked:
      return "unchecked";
  }
  return {};
}

/// What stands before the entries, piece by piece.
struct Heading {
  explicit Heading(const VerificationReport& report)
      : list(reportedPath(report.list)),
        root(reportedPath(report.root)),
        start(internetDateTime(report.start).value_or("")),
        end(internetDateTime(report.end).value_or("")),
        counts{{{"entries", static_cast<std::int64_t>(report.entryCount)},
                {wordFor(Status::match), report.counts.matched},
                {wordFor(Status::mismatch), report.counts.mismatched},
                {wordFor(Status::failed), report.counts.failed},
                {wordFor(Status::unchecked), report.counts.unchecked},
                {"linesNotUnderstood", report.counts.linesNotUnderstood},
                {"linesIgnored", report.counts.linesIgnored}}} {
    for (const HashAlgorithm algorithm : kListAlgorithms) {
      digests.at(digestCount++) = {algorithm.rawValue(), std::string(report.listDigests.find(algorithm).value_or(""))};
    }
  }

  std::string list;
  std::string root;
  std::string start;
  std::string end;
  std::array<std::pair<std::string_view, std::string>, kListAlgorithms.size()> digests;
  std::size_t digestCount = 0;
  std::array<std::pair<std::string_view, std::int64_t>, 7> counts;
};

/// One of the three formats: what it puts where.
class Writer {
 public:
  virtual ~Writer() = default;
  virtual void appendHeading(std::string& text, const VerificationReport& report, const Heading& heading) const = 0;
  virtual void appendEntry(std::string& text, const VerificationReport::Entry& entry, bool isFirst) const = 0;
  virtual void appendEnd(std::string& /*text*/) const {}
};

class TextWriter : public Writer {
 public:
  void appendHeading(std::string& text, const VerificationReport& report, const Heading& heading) const override {
    const auto add = [&](std::string_view name, std::string_view value) {
      text.append(name).append(": ");
      appendOnOneLine(text, value);
      text += '\n';
    };
    add("report", "verification of a checksum list, version " + std::to_string(VerificationReport::version));
    add("verdict", report.verdict);
    add("details", report.details);
    add("list", heading.list);
    for (const auto& [name, digest] : heading.digests) add("list's " + std::string(name), digest);
    add("root", heading.root);
    add("start", heading.start);
    add("end", heading.end);
    for (const auto& [name, count] : heading.counts) add(name, std::to_string(count));
    text += "\nline\tstatus\talgorithm\texpected\tactual\tpath\tsentence\n";
  }

  void appendEntry(std::string& text, const VerificationReport::Entry& entry, bool /*isFirst*/) const override {
    text.append(std::to_string(entry.line)).append("\t").append(wordFor(entry.status)).append("\t");
    text.append(entry.algorithm.rawValue()).append("\t").append(entry.expected).append("\t");
    text.append(entry.actual).append("\t");
    appendOnOneLine(text, entry.path);
    text += '\t';
    appendOnOneLine(text, entry.sentence);
    text += '\n';
  }
};

/// One table: the first column says what a row is about.
class CsvWriter : public Writer {
 public:
  void appendHeading(std::string& text, const VerificationReport& report, const Heading& heading) const override {
    text += "record,line,status,algorithm,expected,actual,path,text";
    appendRow(text, {.record = "report", .text = "version " + std::to_string(VerificationReport::version)});
    appendRow(text, {.record = "verdict", .text = report.verdict});
    appendRow(text, {.record = "details", .text = report.details});
    for (const auto& [name, digest] : heading.digests) {
      appendRow(text, {.record = "list", .algorithm = name, .actual = digest, .path = heading.list});
    }
    appendRow(text, {.record = "root", .path = heading.root});
    appendRow(text, {.record = "start", .text = heading.start});
    appendRow(text, {.record = "end", .text = heading.end});
    for (const auto& [name, count] : heading.counts) {
      appendRow(text, {.record = "count", .status = name, .text = std::to_string(count)});
    }
  }

  void appendEntry(std::string& text, const VerificationReport::Entry& entry, bool /*isFirst*/) const override {
    appendRow(text, {.record = "entry",
                     .line = std::to_string(entry.line),
                     .status = wordFor(entry.status),
                     .algorithm = entry.algorithm.rawValue(),
                     .expected = entry.expected,
                     .actual = entry.actual,
                     .path = entry.path,
                     .text = entry.sentence});
  }

 private:
  struct Row {
    std::string_view record;
    std::string line{};
    std::string_view status{};
    std::string_view algorithm{};
    std::string_view expected{};
    std::string_view actual{};
    std::string_view path{};
    std::string text{};
  };

  static void appendRow(std::string& text, const Row& row) {
    text.append("\n").append(row.record).append(",").append(row.line);
    for (const std::string_view field :
         {row.status, row.algorithm, row.expected, row.actual, row.path, std::string_view(row.text)}) {
      text += ',';
      if (!field.empty()) appendQuoted(text, field);
    }
  }
};

class JsonWriter : public Writer {
 public:
  void appendHeading(std::string& text, const VerificationReport& report, const Heading& heading) const override {
    text += "{\n";
    appendMember(text, "  ", "report", "verification of a checksum list");
    appendNumber(text, "  ", "version", VerificationReport::version);
    appendMember(text, "  ", "verdict", report.verdict);
    appendMember(text, "  ", "details", report.details);
    text.append("  \"allMatch\" : ").append(report.isAllMatch ? "true" : "false").append(",\n  \"list\" : {\n");
    for (const auto& [name, digest] : heading.digests) appendMember(text, "    ", name, digest);
    appendLastMember(text, "    ", "path", heading.list);
    text += "\n  },\n";
    appendMember(text, "  ", "root", heading.root);
    appendMember(text, "  ", "start", heading.start);
    appendMember(text, "  ", "end", heading.end);
    text += "  \"counts\" : {\n";
    std::string_view separator;
    for (const auto& [name, count] : heading.counts) {
      text.append(separator).append("    \"").append(name).append("\" : ").append(std::to_string(count));
      separator = ",\n";
    }
    text += "\n  },\n  \"entries\" : [";
  }

  void appendEntry(std::string& text, const VerificationReport::Entry& entry, bool isFirst) const override {
    text += isFirst ? "\n    {\n" : ",\n    {\n";
    appendNumber(text, "      ", "line", entry.line);
    appendMember(text, "      ", "path", entry.path);
    appendMember(text, "      ", "algorithm", entry.algorithm.rawValue());
    appendMember(text, "      ", "expected", entry.expected);
    appendMember(text, "      ", "actual", entry.actual);
    appendMember(text, "      ", "status", wordFor(entry.status));
    appendLastMember(text, "      ", "sentence", entry.sentence);
    text += "\n    }";
  }

  void appendEnd(std::string& text) const override { text += "\n  ]\n}\n"; }

 private:
  static void appendMember(std::string& text, std::string_view indent, std::string_view key, std::string_view value) {
    appendLastMember(text, indent, key, value);
    text += ",\n";
  }

  static void appendLastMember(std::string& text, std::string_view indent, std::string_view key,
                               std::string_view value) {
    text.append(indent).append("\"").append(key).append("\" : ");
    appendJsonString(text, value);
  }

  static void appendNumber(std::string& text, std::string_view indent, std::string_view key, std::int64_t value) {
    text.append(indent).append("\"").append(key).append("\" : ").append(std::to_string(value)).append(",\n");
  }
};

const Writer& writerOf(Format format) {
  static const TextWriter text;
  static const CsvWriter csv;
  static const JsonWriter json;
  if (format == Format::plainText) return text;
  if (format == Format::csv) return csv;
  return json;
}

}  // namespace

void VerificationReport::write(Format format, const std::filesystem::path& destination,
                               const std::stop_token& cancellation) const {
  const Writer& writer = writerOf(format);
  writeAtomically(destination, cancellation, [&](FileHandle& file) {
    BufferedFileWriter buffer(file);
    std::string text;
    writer.appendHeading(text, *this, Heading(*this));
    for (std::size_t i = 0; i < entryCount; ++i) {
      HashService::checkCancellation(cancellation);
      writer.appendEntry(text, entryAt(i), i == 0);
      buffer.append(text);
      text.clear();
    }
    writer.appendEnd(text);
    buffer.append(text);
    buffer.flush();
  });
}

}  // namespace tallyfold

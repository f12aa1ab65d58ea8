#include "export/reports/VerificationReport.h"

#include <array>
#include <optional>
#include <utility>

#include "core/services/HashService.h"
#include "core/text/UnicodeText.h"
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

std::string_view wordFor(VerificationReport::Work work) {
  using Work = VerificationReport::Work;
  switch (work) {
    case Work::none:
      return "none";
    case Work::running:
      return "running";
    case Work::cancelled:
      return "cancelled";
    case Work::failed:
      return "failed";
    case Work::ended:
      return "ended";
  }
  return {};
}

std::string_view wordFor(bool isTrue) { return isTrue ? "true" : "false"; }

std::string timeOf(const Timestamp& time) {
  return time == Timestamp() ? std::string() : internetDateTime(time).value_or("");
}

/// What stands before the entries, piece by piece.
struct Heading {
  explicit Heading(const VerificationReport& report)
      : list(reportedPath(report.list)),
        root(reportedPath(report.root)),
        start(internetDateTime(report.start).value_or("")),
        end(internetDateTime(report.end).value_or("")),
        walkEnd(timeOf(report.unlisted.walkEnd)),
        searchEnd(timeOf(report.unlisted.searchEnd)),
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
  std::string walkEnd;
  std::string searchEnd;
  std::array<std::pair<std::string_view, std::string>, kListAlgorithms.size()> digests;
  std::size_t digestCount = 0;
  std::array<std::pair<std::string_view, std::int64_t>, 7> counts;
};

/// One of the three formats: what it puts where.
class Writer {
 public:
  virtual ~Writer() = default;
  virtual void appendHeading(std::string& text, const VerificationReport& report, const Heading& heading) const = 0;
  virtual void appendUnlisted(std::string& text, std::string_view path, std::string_view note, bool isFirst) const = 0;
  virtual void appendColumns(std::string& /*text*/) const {}
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
    add("walk", wordFor(report.unlisted.walk));
    add("walkEnd", heading.walkEnd);
    add("search", wordFor(report.unlisted.search));
    add("searchEnd", heading.searchEnd);
    add("isComplete", wordFor(report.unlisted.isComplete));
    add("hasMore", wordFor(report.unlisted.hasMore));
    add("remarks", report.unlisted.remarks);
  }

  void appendUnlisted(std::string& text, std::string_view path, std::string_view note,
                      bool /*isFirst*/) const override {
    text += "unlisted: ";
    appendOnOneLine(text, path);
    text += '\t';
    appendOnOneLine(text, note);
    text += '\n';
  }

  void appendColumns(std::string& text) const override {
    text += "\nline\tstatus\talgorithm\texpected\tactual\tpath\tsentence\tnote\n";
  }

  void appendEntry(std::string& text, const VerificationReport::Entry& entry, bool /*isFirst*/) const override {
    text.append(std::to_string(entry.line)).append("\t").append(wordFor(entry.status)).append("\t");
    text.append(entry.algorithm.rawValue()).append("\t").append(entry.expected).append("\t");
    text.append(entry.actual).append("\t");
    appendOnOneLine(text, entry.path);
    text += '\t';
    appendOnOneLine(text, entry.sentence);
    text += '\t';
    appendOnOneLine(text, entry.note);
    text += '\n';
  }
};

/// One table: the first column says what a row is about.
class CsvWriter : public Writer {
 public:
  void appendHeading(std::string& text, const VerificationReport& report, const Heading& heading) const override {
    text += "record,line,status,algorithm,expected,actual,path,text,note";
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
    appendRow(text, {.record = "walk", .status = wordFor(report.unlisted.walk), .text = heading.walkEnd});
    appendRow(text, {.record = "search", .status = wordFor(report.unlisted.search), .text = heading.searchEnd});
    appendRow(text, {.record = "isComplete", .text = wordFor(report.unlisted.isComplete)});
    appendRow(text, {.record = "hasMore", .text = wordFor(report.unlisted.hasMore)});
    appendRow(text, {.record = "remarks", .text = report.unlisted.remarks});
  }

  void appendUnlisted(std::string& text, std::string_view path, std::string_view note,
                      bool /*isFirst*/) const override {
    appendRow(text, {.record = "unlisted", .path = path, .note = note});
  }

  void appendEntry(std::string& text, const VerificationReport::Entry& entry, bool /*isFirst*/) const override {
    appendRow(text, {.record = "entry",
                     .line = std::to_string(entry.line),
                     .status = wordFor(entry.status),
                     .algorithm = entry.algorithm.rawValue(),
                     .expected = entry.expected,
                     .actual = entry.actual,
                     .path = entry.path,
                     .text = entry.sentence,
                     .note = entry.note});
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
    std::string_view text{};
    std::string_view note{};
  };

  static void appendRow(std::string& text, const Row& row) {
    text.append("\n").append(row.record).append(",").append(row.line);
    for (const std::string_view field :
         {row.status, row.algorithm, row.expected, row.actual, row.path, row.text, row.note}) {
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
    appendTruth(text, "  ", "allMatch", report.isAllMatch);
    text += "  \"list\" : {\n";
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
    text += "\n  },\n  \"unlisted\" : {\n";
    appendMember(text, "    ", "walk", wordFor(report.unlisted.walk));
    appendMember(text, "    ", "walkEnd", heading.walkEnd);
    appendMember(text, "    ", "search", wordFor(report.unlisted.search));
    appendMember(text, "    ", "searchEnd", heading.searchEnd);
    appendTruth(text, "    ", "isComplete", report.unlisted.isComplete);
    appendTruth(text, "    ", "hasMore", report.unlisted.hasMore);
    appendMember(text, "    ", "remarks", report.unlisted.remarks);
    text += "    \"files\" : [";
  }

  void appendUnlisted(std::string& text, std::string_view path, std::string_view note, bool isFirst) const override {
    text += isFirst ? "\n      {\n" : ",\n      {\n";
    appendMember(text, "        ", "path", path);
    appendLastMember(text, "        ", "note", note);
    text += "\n      }";
  }

  void appendColumns(std::string& text) const override { text += "\n    ]\n  },\n  \"entries\" : ["; }

  void appendEntry(std::string& text, const VerificationReport::Entry& entry, bool isFirst) const override {
    text += isFirst ? "\n    {\n" : ",\n    {\n";
    appendNumber(text, "      ", "line", entry.line);
    appendMember(text, "      ", "path", entry.path);
    appendMember(text, "      ", "algorithm", entry.algorithm.rawValue());
    appendMember(text, "      ", "expected", entry.expected);
    appendMember(text, "      ", "actual", entry.actual);
    appendMember(text, "      ", "status", wordFor(entry.status));
    appendMember(text, "      ", "sentence", entry.sentence);
    appendLastMember(text, "      ", "note", entry.note);
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

  static void appendTruth(std::string& text, std::string_view indent, std::string_view key, bool isTrue) {
    text.append(indent).append("\"").append(key).append("\" : ").append(wordFor(isTrue)).append(",\n");
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
    for (std::size_t i = 0; i < unlisted.count; ++i) {
      HashService::checkCancellation(cancellation);
      const UnlistedFile unlistedFile = unlisted.at(i);
      writer.appendUnlisted(text, wellFormedUTF8(unlistedFile.path), unlistedFile.note, i == 0);
      buffer.append(text);
      text.clear();
    }
    writer.appendColumns(text);
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

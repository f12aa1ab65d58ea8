#include "core/text/UnicodeText.h"
#include "export/reports/ManifestRecord.h"
#include "export/reports/VerificationReport.h"
#include "export/saving/BufferedFileWriter.h"
#include "tests/export/ExportTest.h"

namespace tallyfold::test {
namespace {

using ManifestService::Format;
using HA = HashAlgorithm;

class ReportFormat : public testing::Test {
 protected:
  std::string reportOf(const FileHashResults& results, Format format) {
    const fs::path path = folder_.path() / "report";
    ManifestService::write(results, format, path, {});
    return contentOf(path);
  }

  TemporaryFolder folder_;
};

TEST_F(ReportFormat, EveryByteIsAsPromised) {
  const FileHashResults none;
  const FileHashResults two{
      resultOf("/a, \"b\".txt", {HA::crc32, HA::md5}, 9'007'199'254'740'993, {1714566896, 999'999'999}),
      resultOf("/tab\there\nand\\\x1F", {HA::sha1})};
  const FileHashResults bare{resultOf("/bare", {}, 7)};
  const std::string md5(32, '1');
  const std::string sha1(40, '2');

  struct Case {
    const char* situation;
    const FileHashResults& results;
    Format format;
    std::string bytes;
  };
  const std::vector<Case> cases{
      {"no result, text", none, Format::plainText, ""},
      {"no result, CSV", none, Format::csv, "file,algorithm,hash,size_bytes"},
      {"no result, JSON", none, Format::json, "[\n\n]"},
      {"names with quotes and line breaks, CSV", two, Format::csv,
       "file,algorithm,hash,size_bytes\n\"/a, \"\"b\"\".txt\",\"MD5\"," + md5 +
           ",9007199254740993\n\"/a, \"\"b\"\".txt\",\"CRC-32\",88888888,9007199254740993\n"
           "\"/tab\there\nand\\\x1F\",\"SHA-1\"," +
           sha1 + ",0"},
      {"names with quotes and line breaks, JSON", two, Format::json,
       "[\n  {\n    \"file\" : \"/a, \\\"b\\\".txt\",\n    \"hashes\" : {\n      \"CRC-32\" : \"88888888\",\n"
       "      \"MD5\" : \"" +
           md5 +
           "\"\n    },\n    \"modifiedAt\" : \"2024-05-01T12:34:56Z\",\n    \"sizeBytes\" : 9007199254740993\n  },\n"
           "  {\n    \"file\" : \"/tab\\there\\nand\\\\\\u001f\",\n    \"hashes\" : {\n      \"SHA-1\" : \"" +
           sha1 + "\"\n    },\n    \"modifiedAt\" : \"1970-01-01T00:00:00Z\",\n    \"sizeBytes\" : 0\n  }\n]"},
      {"result without digests, text", bare, Format::plainText, ""},
      {"result without digests, CSV", bare, Format::csv, "file,algorithm,hash,size_bytes"},
  };
  for (const Case& expected : cases) {
    EXPECT_EQ(reportOf(expected.results, expected.format), expected.bytes) << expected.situation;
  }
}

TEST(ManifestRecord, TimesThatRfc3339CannotSayAreLeftOut) {
  constexpr auto never = std::numeric_limits<std::int64_t>::min();
  constexpr auto always = std::numeric_limits<std::int64_t>::max();
  const std::vector<std::pair<std::optional<Timestamp>, std::string>> cases{
      {Timestamp{0, 0}, "1970-01-01T00:00:00Z"},
      {Timestamp{-1, 500'000'000}, "1969-12-31T23:59:59Z"},
      {Timestamp{951'827'696, 0}, "2000-02-29T12:34:56Z"},
      {Timestamp{4'107'542'399, 999'999'999}, "2100-02-28T23:59:59Z"},
      {Timestamp{-2'203'891'200, 0}, "1900-03-01T00:00:00Z"},
      {Timestamp{253'402'300'799, 0}, "9999-12-31T23:59:59Z"},
      {Timestamp{253'402'300'800, 0}, ""},
      {Timestamp{-62'167'219'200, 0}, "0000-01-01T00:00:00Z"},
      {Timestamp{-62'167'219'201, 0}, ""},
      {Timestamp{never, 0}, ""},
      {Timestamp{always, 999'999'999}, ""},
      {std::nullopt, ""},
  };
  for (const auto& [time, expected] : cases) {
    std::string text;
    ManifestRecord{"/f", 1, time, {}}.appendJson(text);
    const std::string line = expected.empty() ? "" : "    \"modifiedAt\" : \"" + expected + "\",\n";
    EXPECT_EQ(text,
              "  {\n    \"file\" : \"/f\",\n    \"hashes\" : {\n  \n    },\n" + line + "    \"sizeBytes\" : 1\n  }");
  }
}

/// Bytes that begin, continue and break UTF-8 sequences, or mean something to one of the formats.
std::vector<std::string> hostileNames() {
  std::vector<std::string> names{"/=1+1", "/line\nbreak\r\nand\rreturn", "/\u202Egpj.exe\u2028\u2029\u0085",
                                 std::string("/").append(255, '\xFF'), std::string("/").append(4000, '"')};
  const std::string alphabet(
      "aZ\",\\/\n\r\t\b\f\v\x01\x1F\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC2\xDF\xE0\xE1\xED\xEF\xF0\xF1\xF4\xF5\xFF");
  std::mt19937 engine(20240501);
  for (int i = 0; i < 3000; ++i) {
    std::string name = "/";
    for (auto length = engine() % 40; length > 0; --length) name += alphabet[engine() % alphabet.size()];
    names.push_back(name);
  }
  return names;
}

// Python's csv and json modules read the three reports back, and its UTF-8 decoder says what the names must be.
TEST_F(ReportFormat, OtherProgramsReadTheNamesBack) {
  const std::vector<std::string> names = hostileNames();
  FileHashResults results;
  std::string raw;
  for (const std::string& name : names) {
    results.push_back(resultOf(name, {HA::md5, HA::crc32}, 12));
    raw += name + '\0';
  }
  std::vector<std::string> command{"python3", "-c", R"(
import csv, json, sys
raw, text, table, records = sys.argv[1:]
names = [name.decode("utf-8", "replace") for name in open(raw, "rb").read().split(b"\0")[:-1]]
rows = [(name, algorithm, digest) for name in names for algorithm, digest in (("MD5", "1" * 32), ("CRC-32", "8" * 8))]
def read(path): return open(path, encoding="utf-8", errors="strict", newline="")

assert read(text).read() == "".join(f"{algorithm}  {digest}  {name}\n" for name, algorithm, digest in rows)
assert list(csv.reader(read(table), strict=True)) == [["file", "algorithm", "hash", "size_bytes"]] + [
    [name, algorithm, digest, "12"] for name, algorithm, digest in rows]
assert json.load(read(records)) == [
    {"file": name, "hashes": {"MD5": "1" * 32, "CRC-32": "8" * 8}, "modifiedAt": "1970-01-01T00:00:00Z", "sizeBytes": 12}
    for name in names]
print(len(names), "names")
)",
                                   folder_.file("names", raw)};
  for (const Format format : ManifestService::allFormats()) {
    const std::string_view extension = ManifestService::fileExtension(format);
    command.push_back(folder_.file(extension, reportOf(results, format)));
  }
  EXPECT_EQ(outputOf(command), std::to_string(names.size()) + " names\n");
}

// Also the reports of verifications; of the text, each line is one of the report's, whatever ends lines for Python.
TEST_F(ReportFormat, OtherProgramsReadVerificationsBack) {
  std::vector<std::string> names;
  std::string raw;
  const std::vector<std::string> bytes = hostileNames();
  for (const std::string& name : bytes) {
    names.push_back(wellFormedUTF8(name));
    raw += names.back() + '\0';
  }
  VerificationReport report{.verdict = names[1], .details = names[2], .list = names[3], .root = names[1]};
  report.listDigests.insert(HA::blake3, std::string(64, 'b'));
  report.start = {951'827'696, 999'999'999};
  report.end = {951'827'697, 0};
  report.counts = {1, 2, 3, 4, 5, 6};
  report.entryCount = names.size();
  const std::string other(32, '2');
  const std::string expected(32, '1');
  using Status = VerificationReport::Status;
  report.entryAt = [&](std::size_t i) -> VerificationReport::Entry {
    if (i % 2 == 0) return {static_cast<std::int64_t>(i), names[i], HA::md5, expected, other, Status::mismatch, ""};
    return {static_cast<std::int64_t>(i), names[i], HA::md5, expected, "", Status::failed, names[i], names[i]};
  };
  using Work = VerificationReport::Work;
  report.unlisted = {.walk = Work::ended, .walkEnd = report.end, .search = Work::cancelled, .hasMore = true};
  report.unlisted.remarks = names[1];
  report.unlisted.count = names.size();
  report.unlisted.at = [&](std::size_t i) -> VerificationReport::UnlistedFile { return {bytes[i], names[i]}; };
  std::vector<std::string> command{"python3", "-c", R"py(
import csv, json, re, sys
raw, text, table, records = sys.argv[1:]
names = open(raw, encoding="utf-8", newline="").read().split("\0")[:-1]
one, two = "1" * 32, "2" * 32
entries = [[i, "MD5", one, name] + ([two, "mismatch", "", ""] if i % 2 == 0 else ["", "failed", name, name])
           for i, name in enumerate(names)]
counts = list(zip(["entries", "match", "mismatch", "failed", "unchecked", "linesNotUnderstood",
                   "linesIgnored"], [len(names), 1, 2, 3, 4, 5, 6]))
head = {"verdict": names[1], "details": names[2], "root": names[1], "start": "2000-02-29T12:34:56Z",
        "end": "2000-02-29T12:34:57Z"}
walk = {"walk": "ended", "walkEnd": "2000-02-29T12:34:57Z", "search": "cancelled", "searchEnd": "",
        "isComplete": "false", "hasMore": "true", "remarks": names[1]}
def read(path): return open(path, encoding="utf-8", errors="strict", newline="")
def plain(text):
    return re.sub(r"\\(?:u(....)|(.))", lambda m: chr(int(m[1], 16)) if m[1] else {"n": "\n", "r": "\r", "t": "\t"}.get(m[2], m[2]), text)

lines = read(text).read().splitlines()
gap = lines.index("")
assert [[plain(field) for field in line.split("\t")] for line in lines[:gap] if line.startswith("unlisted: ")] == [
    ["unlisted: " + name, name] for name in names]
assert {key: plain(value) for key, value in (line.split(": ", 1) for line in lines[:gap])
        if key != "unlisted"} == {
    "report": "verification of a checksum list, version 1", **head, "list": names[3], "list's SHA-256": "",
    "list's BLAKE3": "b" * 64, **{key: str(count) for key, count in counts}, **walk}
assert lines[gap + 1].split("\t") == ["line", "status", "algorithm", "expected", "actual", "path", "sentence", "note"]
assert [[plain(field) for field in line.split("\t")] for line in lines[gap + 2:]] == [
    [str(i), status, algorithm, expected, actual, name, sentence, note]
    for i, algorithm, expected, name, actual, status, sentence, note in entries]
rows = list(csv.reader(read(table), strict=True))
assert rows[0] == ["record", "line", "status", "algorithm", "expected", "actual", "path", "text", "note"]
assert {row[0]: row[7] or row[6] for row in rows[1:] if row[0] in head} == head
assert [row[3:7] for row in rows if row[0] == "list"] == [
    ["SHA-256", "", "", names[3]], ["BLAKE3", "", "b" * 64, names[3]]]
assert [(row[2], int(row[7])) for row in rows if row[0] == "count"] == counts
assert {key: text for record, _, status, *_, text, _ in rows for key, text in ((record, status), (record + "End", text))
        if record in ("walk", "search")} | {row[0]: row[7] for row in rows if row[0] in list(walk)[4:]} == walk
assert [row for row in rows if row[0] == "unlisted"] == [["unlisted", "", "", "", "", "", name, "", name] for name in names]
assert [row[1:] for row in rows if row[0] == "entry"] == [
    [str(i), status, algorithm, expected, actual, name, sentence, note]
    for i, algorithm, expected, name, actual, status, sentence, note in entries]
assert json.load(read(records)) == {
    "report": "verification of a checksum list", "version": 1, **head, "allMatch": False,
    "list": {"path": names[3], "SHA-256": "", "BLAKE3": "b" * 64}, "counts": dict(counts),
    "unlisted": {**walk, "isComplete": False, "hasMore": True, "files": [{"path": name, "note": name} for name in names]},
    "entries": [dict(zip(["line", "algorithm", "expected", "path", "actual", "status", "sentence", "note"], entry))
                for entry in entries]}
print(len(names), "names")
)py",
                                   folder_.file("names", raw)};
  for (const Format format : ManifestService::allFormats()) {
    command.push_back(folder_.path() / ManifestService::fileExtension(format));
    report.write(format, command.back(), {});
  }
  EXPECT_EQ(outputOf(command), std::to_string(names.size()) + " names\n");
}

TEST_F(ReportFormat, HundredThousandResultsGoOutInOneWritePer256KiB) {
  const FileHashResults results = manyResults(100'000);
  for (const Format format : ManifestService::allFormats()) {
    struct : WatchedSystemCalls {
      ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
        sizes.push_back(count);
        return SystemCalls::write(descriptor, bytes, count);
      }
      std::vector<std::size_t> sizes;
    } calls;
    const std::size_t size = reportOf(results, format).size();
    EXPECT_GT(size, 50'000'000U);
    ASSERT_GE(calls.sizes.size(), size / BufferedFileWriter::bufferReservation);
    EXPECT_LE(calls.sizes.size(), size / BufferedFileWriter::flushThreshold + 1);
    calls.sizes.pop_back();
    EXPECT_THAT(calls.sizes, Each(testing::AllOf(testing::Ge(BufferedFileWriter::flushThreshold),
                                                 testing::Le(BufferedFileWriter::bufferReservation))));
  }
}

}  // namespace
}  // namespace tallyfold::test

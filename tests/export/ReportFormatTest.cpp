#include "export/BufferedFileWriter.h"
#include "export/ManifestRecord.h"
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

// Python's csv and json modules read the three reports back, and its UTF-8 decoder says what the names must be.
TEST_F(ReportFormat, OtherProgramsReadTheNamesBack) {
  std::vector<std::string> names{"/=1+1", "/line\nbreak\r\nand\rreturn", "/\u202Egpj.exe\u2028\u2029\u0085",
                                 std::string("/").append(255, '\xFF'), std::string("/").append(4000, '"')};
  // Bytes that begin, continue and break UTF-8 sequences, or mean something to one of the formats.
  const std::string alphabet(
      "aZ\",\\/\n\r\t\b\f\v\x01\x1F\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC2\xDF\xE0\xE1\xED\xEF\xF0\xF1\xF4\xF5\xFF");
  std::mt19937 engine(20240501);
  for (int i = 0; i < 3000; ++i) {
    std::string name = "/";
    for (auto length = engine() % 40; length > 0; --length) name += alphabet[engine() % alphabet.size()];
    names.push_back(name);
  }

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

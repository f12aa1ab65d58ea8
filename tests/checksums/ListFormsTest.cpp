#include "checksums/forms/Form.h"
#include "tests/checksums/ChecksumsTest.h"
#include "tests/support/PlainListReader.h"

namespace tallyfold::test {
namespace {

using ListForms = RootTest;

const std::string kUnsupported = ": unsupported checksum format.";

/// "MD5 <digest> [<name>]" or "Line <number>: ..." for each entry and warning, then what else is known.
std::vector<std::string> outcomeOfList(const fs::path& list, const ReadingChoice& choice) {
  const ListReading reading = readList(list, choice, {});
  std::vector<std::string> lines = described(reading.result);
  const std::string counts = std::move(lines.back());
  lines.pop_back();
  if (!counts.ends_with(", 0 unsupported")) lines.push_back(counts.substr(counts.find(", ") + 2));
  if (reading.ambiguousLineCount > 0) {
    lines.push_back(std::to_string(reading.ambiguousLineCount) + " of " + namesOf(reading.candidates, "or"));
  }
  if (!reading.otherAlgorithm.empty()) lines.push_back("of " + std::string(reading.otherAlgorithm));
  if (reading.quotedNameCount > 0) lines.push_back(std::to_string(reading.quotedNameCount) + " quoted");
  if (reading.isSigned) lines.emplace_back("signed");
  if (!reading.commonFolder.empty()) lines.push_back("in " + reading.commonFolder);
  return lines;
}

TEST_F(ListForms, AreReadToTheLetterOrLeftUnsupported) {
  const std::string sha256 = "SHA-256 " + d64;
  const std::string md5 = "MD5 " + d32;
  const std::string tableHead = "\nAlgorithm       Hash    Path\n---------       ----    ----\n";
  const std::string json =
      "[\n  {\n    \"file\" : \"/a/x \\\"\\u00e9\\uD83D\\uDE00\\n\",\n    \"hashes\" : {\n      \"MD5\" : \"" + d32 +
      "\",\n      \"SHA-256\" : \"" + d64 +
      "\"\n    },\n    \"modifiedAt\" : \"2024-05-01T12:34:56Z\",\n    \"sizeBytes\" : 0\n  }";
  const std::string jsonNext = ",\n  {\n    \"file\" : \"/a/b/y\",\n    \"hashes\" : {\n      \"MD5\" : \"" + d32 +
                               "\"\n    },\n    \"sizeBytes\" : 3\n  }\n]";
  const std::string signature = "-----BEGIN PGP SIGNATURE-----\nVersion: 1 (x)\n\niQIzBAEB+/==\n=ab12\n";
  struct {
    std::string list;
    std::string content;
    std::vector<std::string> outcome;
    ReadingChoice choice = {};
  } const lists[]{
      {"l", "\\MD5 (a\\nb\\\\) = " + d32, {"1: " + md5 + " [a\nb\\]"}},
      {"l", "SHA2-256(a (b)) = x)= " + d64, {"1: " + sha256 + " [a (b)) = x]"}},
      {"l", "SHA2-SHA1(a)= " + d40, {"Line 1" + kUnsupported, "1 unsupported"}},
      {"l", "BLAKE2S-256(a)= " + d64, {"Line 1" + kUnsupported, "1 unsupported"}},
      {"l", "\uFEFF" + d32 + " a  b", {"1: " + md5 + " [a  b]"}},
      {"l", "20240131 a b", {"Line 1" + kUnsupported, "1 unsupported"}},
      {"l",
       d64 + " a\n" + d64 + "  b\na " + d64,
       {"Line 1" + kUnsupported,
        "Line 2: ambiguous 64-character digest; SHA-256 and BLAKE3 cannot be distinguished from GNU format alone.",
        "Line 3" + kUnsupported, "3 unsupported", "3 of SHA-256 or BLAKE3"}},
      {"l",
       d64 + " a\n" + d64 + "  b\na " + d64,
       {"1: BLAKE3 " + d64 + " [a]", "2: BLAKE3 " + d64 + " [b]", "3: BLAKE3 " + d64 + " [a]"},
       {HashAlgorithm::blake3}},
      {"B3SUMS", d64 + "  a", {"1: " + sha256 + " [a]"}, {HashAlgorithm::sha256}},
      {"l",
       "a b  " + d32 + " " + d40 + "\n" + d32 + " " + d40,
       {"1: " + md5 + " [a b]", "1: SHA-1 " + d40 + " [a b]", "2: " + md5 + " [" + d40 + "]"}},
      {"b2sums", d32 + " a\n# MD4", {"1: " + md5 + " [a]", "of BLAKE2b"}},
      {"x.sha3", "# MD4\n" + d32 + " a", {"2: " + md5 + " [a]"}},
      {"l", "a " + d64 + " " + d32, {"Line 1" + kUnsupported, "1 unsupported", "1 of SHA-256 or BLAKE3"}},
      {"l",
       "SHA-256  " + d64 + "  /a/b/x  y\nMD5  " + d32 + "  /a/z",
       {"1: " + sha256 + " [b/x  y]", "2: " + md5 + " [z]", "in /a/"}},
      {"l", "MD5  " + d32 + "  ", {"1: " + md5 + " [MD5]"}},
      // A full name where the others do not say so stays refused, as does what climbs, and what shares nothing.
      {"l", d32 + "  /a/b", {"1: " + md5 + " [/a/b]"}},
      {"l", "MD5  " + d32 + "  /a/../b", {"1: " + md5 + " [/a/../b]"}},
      {"l",
       "MD5  " + d32 + "  /a/b\nMD5  " + d32 + R"(  C:\a\b)",
       {"1: " + md5 + " [/a/b]", "2: " + md5 + R"( [C:\a\b])"}},
      {"l", "MD5  " + d32 + "  /a/b//", {"1: " + md5 + " [b//]", "in /a/"}},
      {"l",
       "file,algorithm,hash,size_bytes\n\"/a/\"\"b\"\",c\",\"MD5\"," + d32 + ",1",
       {"2: " + md5 + " [\"b\",c]", "in /a/"}},
      {"l",
       "\uFEFF#TYPE X\r\n\"Algorithm\";\"Hash\";\"Path\"\r\n\"SHA256\";\"" + d64 +
           "\";\"C:\\a\\b\\c\"\r\n\"X\";\"1\";\"a\"",
       {"Line 4" + kUnsupported, "3: " + sha256 + " [c]", "1 unsupported", R"(in C:\a\b\)"}},
      {"l",
       "file,algorithm,hash,size_bytes\n\"a\nb,MD5," + d32 + ",1\nc\",\"MD5\"," + d32 + ",1",
       {"Line 1" + kUnsupported, "Line 2" + kUnsupported, "Line 3" + kUnsupported, "Line 4" + kUnsupported,
        "4 unsupported"}},
      {"l",
       json + jsonNext,
       {"5: " + md5 + " [x \"\u00E9\U0001F600\n]", "6: " + sha256 + " [x \"\u00E9\U0001F600\n]",
        "14: " + md5 + " [b/y]", "in /a/"}},
      {"l",
       json,
       {"Line 7" + kUnsupported, "Line 8" + kUnsupported, "Line 9" + kUnsupported, "Line 10" + kUnsupported,
        "5: " + md5 + " [x \"\u00E9\U0001F600\n]", "6: " + sha256 + " [x \"\u00E9\U0001F600\n]", "4 unsupported",
        "in /a/"}},
      {"l",
       tableHead + "SHA256          " + d64 + "   C:\\a b\\c d  \nSHA256  " + d64 + "  C:\\a b\\c...",
       {"Line 5" + kUnsupported, "4: " + sha256 + " [c d]", "1 unsupported", R"(in C:\a b\)"}},
      {"l",
       "Algorithm : MD5\nHash      : " + d32 + "\nPath      : C:/x\n\nAlgorithm : MD5\nHash      : " + d32,
       {"Line 5" + kUnsupported, "Line 6" + kUnsupported, "3: " + md5 + " [x]", "2 unsupported", "in C:/"}},
      {"l",
       "Algorithm : MD5\nAlgorithm : MD5\nwhat",
       {"Line 1" + kUnsupported, "Line 2" + kUnsupported, "Line 3" + kUnsupported, "3 unsupported"}},
      {"l",
       "MD5 hash of file a b:\naa aa aa aa aa aa aa aa aa aa aa aa aa aa aa aa\nCertUtil: -hashfile command completed.",
       {"2: " + md5 + " [a b]"}},
      {"l",
       "SHA256 hash of a:\nwhat\nCertUtil: x",
       {"Line 1" + kUnsupported, "Line 2" + kUnsupported, "Line 3" + kUnsupported, "3 unsupported"}},
      {"l",
       "%%%% HASHDEEP-1.0\n%%%% size,md5,tiger,filename\n## x\n12," + d32 + ",x,/a/b,c\n12," + d40 + ",x,/a/b",
       {"Line 5" + kUnsupported, "4: " + md5 + " [b,c]", "1 unsupported", "in /a/"}},
      {"a.b.sha256", "# x\n\n" + d64 + " \n", {"3: " + sha256 + " [a.b]"}},
      {"a.sha256", d64 + "\nMD5 (b) = " + d32, {"Line 1" + kUnsupported, "2: " + md5 + " [b]", "1 unsupported"}},
      {"a.sha256", d64 + "\n" + d64, {"Line 1" + kUnsupported, "Line 2" + kUnsupported, "2 unsupported"}},
      {"a.md5", d64, {"Line 1" + kUnsupported, "1 unsupported"}},
      {"l",
       "-----BEGIN PGP SIGNED MESSAGE-----\nHash: SHA256\n\n# x\nMD5 (a) = " + d32 + "\n" + signature +
           "-----END PGP SIGNATURE-----\n",
       {"5: " + md5 + " [a]", "signed"}},
      {"l",
       "-----BEGIN PGP SIGNED MESSAGE-----\nMD5 (a) = " + d32 + "\n" + signature + d32 + " x\n",
       {"Line 1" + kUnsupported, "Line 3" + kUnsupported, "Line 4" + kUnsupported, "Line 6" + kUnsupported,
        "Line 7" + kUnsupported, "2: " + md5 + " [a]", "8: " + md5 + " [x]", "5 unsupported"}},
      {"l",
       "SHA256: " + d32 + "\nBLAKE2b (a) = " + d32,
       {"Line 1" + kUnsupported, "Line 2" + kUnsupported, "2 unsupported"}},
      {"l", "\"a b\" " + d8, {"1: CRC-32 " + d8 + " [\"a b\"]", "1 quoted"}},
      {"l", "\"a b\" " + d8, {"1: CRC-32 " + d8 + " [a b]", "1 quoted"}, {{}, true}},
  };
  for (const auto& [name, content, outcome, choice] : lists) {
    EXPECT_EQ(outcomeOfList(folder.file(name, content), choice), outcome) << content;
  }
  const fs::path list = folder.file("l", "a " + d32 + "\nSHA256: " + d32 + " " + d32);
  EXPECT_EQ(readList(list, {}, {}).bareDigestCount, 1) << "Of entries only";
}

TEST(OtherAlgorithm, IsNamedWhereAListSpeaksOfIt) {
  const std::vector<std::pair<std::string, std::string>> names{
      {"B2SUMS", "BLAKE2b"},
      {"x.sha3-512", "SHA-3"},
      {"SHA512-256SUMS", "SHA-512/256"},
      {"sha512_224", "SHA-512/224"},
      {"a rmd160 list", "RIPEMD-160"},
      {"SHA512SUMS", ""},
      {"sha512 256 files", ""},
      {"SHA256SUMS", ""},
      {"B3SUMS", ""},
      {"notmd4", ""},
      {"crc32c", "CRC-32C"},
      {"", ""},
  };
  for (const auto& [name, algorithm] : names) EXPECT_EQ(otherAlgorithmIn(name), algorithm) << name;
  for (const char* const name :
       {"SHA256SUMS", "a.sha256", "tool_sha-256.txt", "sha256sum-amd64", "MD5SUMS", "sha1-x"}) {
    EXPECT_EQ(isNamedIn(name, HashAlgorithm::sha256), std::string_view(name).find("256") != std::string::npos) << name;
  }
  EXPECT_TRUE(isNamedIn("B3SUMS", HashAlgorithm::blake3));
  EXPECT_EQ(proposedAlgorithm("/a256/tool-b3.txt"), HashAlgorithm::blake3);
  EXPECT_EQ(proposedAlgorithm("/b3/SHASUMS256.txt"), HashAlgorithm::sha256);
  EXPECT_EQ(proposedAlgorithm("/b3/checksums.txt"), std::nullopt);
}

TEST(PastedLines, AreThoseWithChecksumsAndAreUnderstoodOneByOne) {
  const std::string text = "# of a release\r\n" + d64 + "  dir/a b.iso\n\nSHA2-256(x)= " + d64 + "\r" + d32 + " y\n  " +
                           "MD5 (.\\z) = " + d32 + "\nwhat?";
  const std::vector<FileChecksum> lines = pastedLines(text);
  EXPECT_THAT(lines, ElementsAre(FileChecksum{2, "a b.iso", d64 + "  dir/a b.iso"},
                                 FileChecksum{4, "x", "SHA-256 (x) = " + d64}, FileChecksum{5, "y", "MD5 (y) = " + d32},
                                 FileChecksum{6, "z", "MD5 (.\\z) = " + d32}));
  for (const FileChecksum& line : lines) EXPECT_TRUE(extractSingleChecksum(line.text, HashAlgorithm::sha256));
  EXPECT_THAT(pastedLines("MD5 (a) = " + d32 + std::string(maximumSingleChecksumSize, ' ')), IsEmpty());
  EXPECT_THAT(pastedLines("MD5 (a\xFF) = " + d32), IsEmpty());
}

TEST_F(ListForms, LineOfOneFileIsFoundInItsLists) {
  const auto lineOf = [&](const std::string& name, const fs::path& list) {
    const auto lines = linesFor(name, list, {});
    return lines.empty() ? "none" : lines.size() > 1 ? "several" : lines[0].text;
  };
  const fs::path list = folder.file("list", "MD5 (b/a) = " + d32 + "\n" + d64 + "  c\n");
  EXPECT_EQ(lineOf("a", list), "MD5 (b/a) = " + d32);
  EXPECT_EQ(lineOf("b", list), "none");
  EXPECT_EQ(lineOf("c", list), "none") << "The list is of another kind";
  EXPECT_EQ(lineOf("c", folder.file("ambiguous", d64 + "  c\n")), d64 + "  c");
  EXPECT_EQ(lineOf("x", folder.file("x.md5", d32)), "MD5 (x) = " + d32);
  EXPECT_THROW(lineOf("a", folder.path()), ManifestReadError);
  const std::string other = std::string(31, '0') + "1  ";
  EXPECT_EQ(lineOf("a", folder.file("l", d32 + "  x/a\n" + other + "y/a")), "several");
  EXPECT_EQ(lineOf("a", folder.file("l", d32 + "  x/a\n" + other + "./a")), "MD5 (./a) = " + other.substr(0, 32));
  EXPECT_EQ(lineOf("a", folder.file("l", d32 + "  a\n" + d32 + "  a\n" + d40 + "  a")), "SHA-1 (a) = " + d40);
  EXPECT_EQ(lineOf("a", folder.file("l", d32 + "  a\n" + d40 + "  a\n" + other + "a")), "several");

  const std::vector<fs::path> lists = usualListsOf("/f/x.iso");
  for (const char* const name :
       {"x.iso.sha256", "x.iso.b3", "SHA256SUMS", "B3SUMS", "MD5SUMS.txt", "x.sfv", "CHECKSUM"}) {
    EXPECT_EQ(std::ranges::count(lists, fs::path("/f") / name), 1) << name;
    EXPECT_TRUE(isListName(name)) << name;
  }
  const auto place = [&](const char* name) { return std::ranges::find(lists, fs::path("/f") / name); };
  EXPECT_LT(place("SHA256SUMS"), place("CHECKSUM"));
  EXPECT_LT(place("CHECKSUM"), place("x.iso.md5"));
}

TEST_F(ListForms, LimitsHoldForEntriesAndWarnings) {
  std::string lines = "Algorithm : MD5\n";
  for (int i = 0; i < 101; ++i) lines += "what?\n";
  const ParseResult result = readList(folder.file("l", lines), {}, {}).result;
  EXPECT_EQ(result.unsupportedLineCount, 102);
  ASSERT_EQ(result.warnings.size(), maximumWarnings);
  EXPECT_EQ(result.warnings.front(), "Line 1" + kUnsupported);
  EXPECT_EQ(result.warnings.back(), "Line 100" + kUnsupported);

  std::string name = "a";
  std::string columns = "%%%% size,md5";
  std::string fields = "1," + d32;
  for (std::size_t i = 0; i < maximumDigestsOfLine; ++i) {
    name += " " + d32;
    columns += ",md5";
    fields += "," + d32;
  }
  std::string list;
  for (int i = 0; i < 1'562; ++i) list += name + "\n";
  EXPECT_EQ(readList(folder.file("l", list), {}, {}).result.entries.size(), 99'968U);
  EXPECT_THROW(readList(folder.file("l", list + name), {}, {}), ManifestReadError);
  // Each digest would keep the name: of what is allowed in a line, gigabytes.
  const std::string tooMany = name + " " + d32 + "\n" + columns + ",filename\n" + fields + ",b\n";
  const ListReading reading = readList(folder.file("l", tooMany), {}, {});
  EXPECT_EQ(reading.result.unsupportedLineCount, 3);
  EXPECT_EQ(reading.bareDigestCount, 0);
}

}  // namespace
}  // namespace tallyfold::test

#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <utility>
#include <vector>

#include "app/FileLocation.h"
#include "app/Formats.h"

namespace tallyfold::test {

namespace {

TEST(DisplayText, ShowsWhatANameHides) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"report.pdf", "report.pdf"},
      {"caf\u00E9 \u4F60\u597D \U0001F600 \u0627\u0644", "caf\u00E9 \u4F60\u597D \U0001F600 \u0627\u0644"},
      {"a\nb\tc\rd\x1B[31m", "a<U+000A>b<U+0009>c<U+000D>d<U+001B>[31m"},
      {"a\x7F", "a<U+007F>"},
      {"a\u0085b", "a<U+0085>b"},
      {"\u202Efdp.exe", "<U+202E>fdp.exe"},
      {"\u2066\u2069\u200F\u061C", "<U+2066><U+2069><U+200F><U+061C>"},
      {"a\u2028b\u2029c", "a<U+2028>b<U+2029>c"},
      {"\xFF"
       "a\xC3",
       "\uFFFDa\uFFFD"},
  };
  for (const auto& [name, shown] : cases) EXPECT_EQ(displayText(name), QString::fromUtf8(shown));
}

TEST(FileLocationTest, UrlOfAnyPathLeadsBackToItsBytes) {
  std::string everyByte = "/";
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') everyByte += static_cast<char>(byte);
  }
  for (const std::string& path : {everyByte, std::string("/a?b#c%20d;e"), std::string("/caf\xC3\xA9")}) {
    const QUrl url = fileUrl(path);
    EXPECT_TRUE(url.isValid());
    EXPECT_EQ(fileLocation(url), std::filesystem::path(path));
    // What a drag or a panel hands over is text.
    EXPECT_EQ(fileLocation(QUrl::fromEncoded(url.toEncoded())), std::filesystem::path(path));
  }
}

TEST(Formats, DurationsHaveTheirUnit) {
  const std::vector<std::pair<double, const char*>> cases = {
      {0, "0 ms"},        {0.0004, "0 ms"}, {0.018, "18 ms"},    {0.5, "500 ms"},
      {0.9994, "999 ms"}, {1.0, "1.00 s"},  {61.239, "61.24 s"},
  };
  for (const auto& [seconds, text] : cases) EXPECT_EQ(compactDuration(seconds), QLatin1String(text));
}

TEST(Formats, ByteCountsNeverShowAThousandOfAUnit) {
  const std::vector<std::pair<qint64, const char*>> cases = {
      {0, "0 bytes"},
      {1, "1 byte"},
      {999, "999 bytes"},
      {1'000, "1 KB"},
      {1'499, "1 KB"},
      {1'500, "2 KB"},
      {999'499, "999 KB"},
      {999'500, "1 MB"},
      {999'949, "1 MB"},
      {999'950, "1 MB"},
      {4'200'000, "4.2 MB"},
      {999'949'999, "999.9 MB"},
      {999'950'000, "1 GB"},
      {1'250'000'000, "1.25 GB"},
      {1'100'000'000, "1.1 GB"},
      {100'000'000'000, "100 GB"},
      {999'995'000'000, "1 TB"},
      {std::numeric_limits<qint64>::max(), "9.22 EB"},
  };
  for (const auto& [bytes, text] : cases) EXPECT_EQ(formattedByteCount(bytes), QLatin1String(text)) << bytes;
}

TEST(Formats, ThroughputIsWholeBytesOrADash) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const std::vector<std::pair<double, const char*>> cases = {
      {0.9, "0 bytes/s"},
      {1.9, "1 byte/s"},
      {1'499.9, "1 KB/s"},
      {233e6, "233 MB/s"},
      {std::nextafter(0x1p63, 0), "9.22 EB/s"},
      {0x1p63, "—"},
      {infinity, "—"},
      {-infinity, "—"},
      {std::nan(""), "—"},
  };
  for (const auto& [speed, text] : cases) EXPECT_EQ(formattedThroughput(speed), QString::fromUtf8(text)) << speed;
}

}  // namespace

}  // namespace tallyfold::test

// How fast UTF-16 becomes UTF-8 in texts of several languages, next to one call of ICU for the same slice; and how long
// a pasted text takes with every algorithm, next to the digests of the same bytes alone.
//
//     text_ratios [ROUNDS]        (101 when not given)

#include <array>
#include <cstdlib>
#include <string>
#include <unicode/ustring.h>

#include "bench/Measure.h"
#include "core/services/TextHashing.h"
#include "core/text/UnicodeText.h"

namespace {

using namespace tallyfold;

struct Language {
  const char* name;
  std::u16string_view sentence;
};

constexpr auto languages = std::to_array<Language>({
    {"English", u"A digest of nothing would be worse than none at all, and so the file is said to have changed. "},
    {"German", u"Der Prüfsummenvergleich bestätigt, dass die Datei unverändert ist und übernommen werden kann. "},
    {"Russian", u"Проверка контрольных сумм подтверждает, что файл не изменился и может быть принят. "},
    {"Chinese", u"校验和的比较证实该文件没有更改并且可以归档。"},
});

void measurePaste(const Language& language) {
  constexpr std::size_t bytes = 64 << 20;
  std::u16string text;
  std::string utf8;
  std::string storage;
  const std::string sentence(utf8Of(language.sentence, storage));
  while (utf8.size() < bytes) text += language.sentence, utf8 += sentence;
  const std::vector<double> seconds = bench::medians(
      {{"text", [&] { HashService::hashTextCancellableWithByteCount(text, HashAlgorithmSet::all(), {}); }},
       {"bytes", [&] { HashService::hashTextCancellableWithByteCount(utf8, HashAlgorithmSet::all(), {}); }}},
      5);
  bench::printTarget("64 MiB of text, all eight, " + std::string(language.name) + ": time / of its bytes alone",
                     seconds[0] / seconds[1], "at most", 1.1);
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 101;
  constexpr std::size_t size = 32'768;  // Units of a slice that is hashed.
  constexpr int slices = 32;
  for (const auto& [name, sentence] : languages) {
    std::u16string text;
    while (text.size() < size) text += sentence;
    text.resize(size);
    std::string ours;
    std::string theirs(3 * size, '\0');
    const auto convert = [&] {
      for (int i = 0; i < slices; ++i) (void)utf8Of(text, ours);
    };
    const auto callICU = [&] {
      for (int i = 0; i < slices; ++i) {
        UErrorCode status = U_ZERO_ERROR;
        u_strToUTF8WithSub(theirs.data(), static_cast<std::int32_t>(theirs.size()), nullptr, text.data(),
                           static_cast<std::int32_t>(size), 0xFFFD, nullptr, &status);
      }
    };
    const std::vector<double> seconds = bench::medians({{"ours", convert}, {"ICU", callICU}}, rounds);
    bench::printTarget("UTF-16 to UTF-8, " + std::string(name) + ": speed / ICU", seconds[1] / seconds[0], "at least",
                       0.97);
  }
  for (const Language& language : languages) measurePaste(language);
}

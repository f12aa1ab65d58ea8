// How fast UTF-16 becomes UTF-8 in texts of several languages, next to one call of ICU for the same slice.
//
//     text_ratios [ROUNDS]        (101 when not given)

#include <array>
#include <cstdlib>
#include <string>
#include <unicode/ustring.h>

#include "bench/Measure.h"
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
}

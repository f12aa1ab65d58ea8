#include "core/text/HexText.h"

#include <algorithm>

#include "core/text/UnicodeText.h"

namespace tallyfold {

std::string normalizedHex(std::string_view text) {
  std::string result = withoutWhiteSpace(lowerCased(text));
  if (result.starts_with("0x")) result.erase(0, 2);
  return result;
}

bool isASCIIHex(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); });
}

}  // namespace tallyfold

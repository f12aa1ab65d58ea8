#include "core/text/VisibleText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <unicode/uchar.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>
#include <vector>

namespace tallyfold {

namespace {

constexpr char32_t nonJoiner = 0x200C;
constexpr char32_t joiner = 0x200D;
constexpr char32_t emojiSelector = 0xFE0F;
constexpr char32_t keycap = 0x20E3;
constexpr char32_t brailleBlank = 0x2800;
constexpr char32_t objectReplacement = 0xFFFC;
constexpr std::string_view ellipsis = "\u2026";
constexpr std::size_t mostBytesPerCharacter = U8_MAX_LENGTH;

// The macros narrow their own variables.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
std::u32string firstCharacters(std::string_view text, std::size_t most) {
  std::u32string characters;
  for (std::size_t position = 0; position < text.size() && characters.size() < most;) {
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(text.data(), position, text.size(), character);
    characters += static_cast<char32_t>(character);
  }
  return characters;
}

std::u32string lastCharacters(std::string_view text, std::size_t most) {
  text.remove_prefix(text.size() - std::min(text.size(), most * mostBytesPerCharacter));
  std::u32string characters = firstCharacters(text, text.size());
  characters.erase(0, characters.size() - std::min(characters.size(), most));
  return characters;
}

void append(char32_t character, std::string& text) {
  std::array<char, U8_MAX_LENGTH> bytes{};
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes.data(), length, character);
  text.append(bytes.data(), length);
}

void append(char32_t character, std::u16string& text) {
  std::array<char16_t, U16_MAX_LENGTH> units{};
  std::size_t length = 0;
  U16_APPEND_UNSAFE(units.data(), length, character);
  text.append(units.data(), length);
}
#pragma GCC diagnostic pop

UChar32 codePoint(char32_t character) { return static_cast<UChar32>(character); }

bool has(char32_t character, UProperty property) { return u_hasBinaryProperty(codePoint(character), property) != 0; }

/// How many characters at the start of `text` are a recommended emoji sequence; 0 when none are.
std::size_t emojiSequenceLength(std::u32string_view text) {
  constexpr std::size_t longest = 10;  // Two people, a heart and a kiss, with their selectors and the joiners between.
  if (!has(text.front(), UCHAR_EMOJI)) return 0;
  std::size_t length = 1;
  while (length < std::min(longest, text.size())) {
    const char32_t next = text[length];
    const bool continues = next == emojiSelector || next == joiner || next == keycap ||
                           has(next, UCHAR_EMOJI_MODIFIER) || (text[length - 1] == joiner && has(next, UCHAR_EMOJI));
    if (!continues) break;
    ++length;
  }
  for (; length > 1; --length) {
    std::u16string sequence;
    for (const char32_t character : text.substr(0, length)) append(character, sequence);
    const auto size = static_cast<std::int32_t>(sequence.size());
    if (u_stringHasBinaryProperty(sequence.data(), size, UCHAR_RGI_EMOJI) != 0) return length;
  }
  return 0;
}

int joiningType(char32_t character) { return u_getIntPropertyValue(codePoint(character), UCHAR_JOINING_TYPE); }

/// A mark at the start of a name, where there is nothing that it could be drawn on.
bool isMarkWithoutBase(std::u32string_view text, std::size_t position) {
  return (position == 0 || text[position - 1] == U'/') &&
         (U_MASK(u_charType(codePoint(text[position]))) & U_GC_M_MASK) != 0;
}

bool isBehindVirama(std::u32string_view text, std::size_t position) {
  constexpr int virama = 9;  // A canonical combining class.
  return position > 0 && u_getCombiningClass(codePoint(text[position - 1])) == virama &&
         !isMarkWithoutBase(text, position - 1);
}

/// Whether the letters on both sides, marks aside, would join if there were nothing between them.
bool isBetweenJoiningLetters(std::u32string_view text, std::size_t position) {
  std::size_t before = position;
  while (before > 0 && joiningType(text[before - 1]) == U_JT_TRANSPARENT) --before;
  std::size_t behind = position + 1;
  while (behind < text.size() && joiningType(text[behind]) == U_JT_TRANSPARENT) ++behind;
  if (before == 0 || behind == text.size()) return false;
  const int left = joiningType(text[before - 1]);
  const int right = joiningType(text[behind]);
  return (left == U_JT_LEFT_JOINING || left == U_JT_DUAL_JOINING) &&
         (right == U_JT_RIGHT_JOINING || right == U_JT_DUAL_JOINING);
}

bool isHidden(std::u32string_view text, std::size_t position) {
  const char32_t character = text[position];
  if (character < 0x7F) return character < ' ';
  if (character == joiner) return !isBehindVirama(text, position);
  if (character == nonJoiner) return !isBehindVirama(text, position) && !isBetweenJoiningLetters(text, position);
  constexpr std::uint32_t controlsAndBlanks = U_GC_CC_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK | U_GC_ZS_MASK;
  const std::uint32_t category = U_MASK(u_charType(codePoint(character)));
  if ((category & controlsAndBlanks) != 0 || has(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT)) return true;
  // Of the format characters, only those stand for something that are set before digits.
  if (category == U_GC_CF_MASK) return !has(character, UCHAR_PREPENDED_CONCATENATION_MARK);
  return character == brailleBlank || character == objectReplacement || isMarkWithoutBase(text, position);
}

struct Piece {
  std::string text;
  std::size_t characters = 0;
};

/// "<U+001B>", with as many digits as it needs, four at least. The C library's formatting takes several times as long.
void appendEscape(char32_t character, std::string& text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  text += "<U+";
  for (int shift = character > 0xFFFFF ? 20 : character > 0xFFFF ? 16 : 12; shift >= 0; shift -= 4) {
    text += digits[(character >> shift) & 0xF];
  }
  text += '>';
}

/// Calls `take` with what is shown for each part of `characters` that must not be cut, until it returns false.
template <typename Take>
void forEachPiece(std::u32string_view characters, Take take) {
  Piece piece;
  for (std::size_t position = 0; position < characters.size();) {
    piece.text.clear();
    const std::size_t sequence = emojiSequenceLength(characters.substr(position));
    if (sequence == 0 && isHidden(characters, position)) {
      appendEscape(characters[position], piece.text);
      piece.characters = piece.text.size();
      ++position;
    } else {
      piece.characters = std::max<std::size_t>(sequence, 1);
      for (const char32_t shown : characters.substr(position, piece.characters)) append(shown, piece.text);
      position += piece.characters;
    }
    if (!take(piece)) return;
  }
}

std::string shortened(std::string_view text, std::size_t mostCharacters) {
  std::string start;
  std::size_t room = mostCharacters / 2;
  forEachPiece(firstCharacters(text, mostCharacters), [&](const Piece& piece) {
    if (piece.characters > room) return false;
    room -= piece.characters;
    start += piece.text;
    return true;
  });

  std::vector<Piece> pieces;
  forEachPiece(lastCharacters(text, mostCharacters), [&](const Piece& piece) {
    pieces.push_back(piece);
    return true;
  });
  room = mostCharacters - mostCharacters / 2 - 1;
  auto first = pieces.end();
  while (first != pieces.begin() && std::prev(first)->characters <= room) room -= (--first)->characters;
  start += ellipsis;
  for (; first != pieces.end(); ++first) start += first->text;
  return start;
}

}  // namespace

std::string visibleText(std::string_view text, std::size_t mostCharacters) {
  const bool isPlain = std::ranges::all_of(text.substr(0, mostCharacters), [](char c) { return c >= ' ' && c <= '~'; });
  if (isPlain && text.size() <= mostCharacters) return std::string(text);

  std::string shown;
  std::size_t length = 0;
  if (text.size() / mostBytesPerCharacter <= mostCharacters) {
    forEachPiece(firstCharacters(text, text.size()), [&](const Piece& piece) {
      shown += piece.text;
      length += piece.characters;
      return length <= mostCharacters;
    });
    if (length <= mostCharacters) return shown;
  }
  return shortened(text, mostCharacters);
}

}  // namespace tallyfold

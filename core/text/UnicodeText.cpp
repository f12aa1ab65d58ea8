#include "core/text/UnicodeText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

namespace tallyfold {

namespace {

constexpr bool isASCIIWhiteSpace(UChar32 c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The macro narrows its own variables.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
/// The character at `position`, which moves behind it; negative for bytes that are not UTF-8.
UChar32 nextCharacter(std::string_view text, std::size_t& position) {
  UChar32 character = 0;
  U8_NEXT(text.data(), position, text.size(), character);
  return character;
}

#pragma GCC diagnostic pop

/// How many bytes at the start of `text` are ASCII, up to a few that are not counted.
std::size_t mostOfASCIIPrefix(std::string_view text) {
  std::size_t count = 0;
  for (std::uint64_t word = 0; text.size() - count >= sizeof word; count += sizeof word) {
    std::memcpy(&word, text.data() + count, sizeof word);
    if ((word & 0x8080'8080'8080'8080) != 0) break;
  }
  return count;
}

bool isASCII(std::string_view text) {
  text.remove_prefix(mostOfASCIIPrefix(text));
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Without branches, so that compilers make vector code of it.
bool isASCII(std::u16string_view text) {
  char16_t allBits = 0;
  for (const char16_t unit : text) allBits |= unit;
  return allBits < 0x80;
}

/// How many units at the start of `text` are ASCII, up to a few that are not counted.
std::size_t mostOfASCIIPrefix(std::u16string_view text) {
  constexpr std::size_t blockSize = 64;
  std::size_t count = 0;
  while (count < text.size() && isASCII(text.substr(count, blockSize))) {
    count += std::min(blockSize, text.size() - count);
  }
  return count;
}

/// The character that ends at `position`, which moves before it; negative for bytes that are not UTF-8.
UChar32 previousCharacter(std::string_view text, std::size_t& position) {
  const std::size_t end = position--;
  std::size_t start = position;
  while (start > 0 && end - start < U8_MAX_LENGTH && U8_IS_TRAIL(text[start])) --start;
  std::size_t next = start;
  const UChar32 character = nextCharacter(text, next);
  if (next != end) return -1;
  position = start;
  return character;
}

bool isWhiteSpace(UChar32 character) {
  return character < 0x80 ? isASCIIWhiteSpace(character) : u_isUWhiteSpace(character) != 0;
}

bool isBlank(UChar32 character) {
  return character < 0x80 ? character == ' ' || character == '\t' : u_isblank(character) != 0;
}

using Predicate = bool (*)(UChar32 character);

std::string_view trimmedAtStart(std::string_view text, Predicate isUnwanted) {
  std::size_t start = 0;
  for (std::size_t next = 0; next < text.size() && isUnwanted(nextCharacter(text, next));) start = next;
  return text.substr(start);
}

std::string_view trimmedAtEnd(std::string_view text, Predicate isUnwanted) {
  std::size_t end = text.size();
  for (std::size_t next = end; next > 0 && isUnwanted(previousCharacter(text, next));) end = next;
  return text.substr(0, end);
}

using Mapping = void (*)(const char* locale, std::uint32_t options, icu::StringPiece text, icu::ByteSink& sink,
                         icu::Edits* edits, UErrorCode& status);

std::string mapped(std::string_view text, Mapping mapping) {
  std::string result;
  icu::StringByteSink<std::string> sink(&result);
  const auto append = [&](std::string_view wellFormed) {
    UErrorCode status = U_ZERO_ERROR;
    mapping("", 0, {wellFormed.data(), static_cast<std::int32_t>(wellFormed.size())}, sink, nullptr, status);
    if (U_FAILURE(status) != 0) throw std::bad_alloc();  // Nothing else can go wrong with well-formed text.
  };
  std::size_t runStart = 0;
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t start = position;
    if (nextCharacter(text, position) >= 0) continue;
    append(text.substr(runStart, start - runStart));
    result += text.substr(start, position - start);
    runStart = position;
  }
  append(text.substr(runStart));
  return result;
}

}  // namespace

bool isValidUTF8(std::string_view text) {
  for (text.remove_prefix(mostOfASCIIPrefix(text)); !text.empty(); text.remove_prefix(mostOfASCIIPrefix(text))) {
    std::size_t position = 0;
    if (nextCharacter(text, position) < 0) return false;
    text.remove_prefix(position);
  }
  return true;
}

std::string wellFormedUTF8(std::string_view text) {
  if (isValidUTF8(text)) return std::string(text);
  std::string result;
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t start = position;
    result += nextCharacter(text, position) >= 0 ? text.substr(start, position - start) : "\uFFFD";
  }
  return result;
}

std::string_view utf8Of(std::u16string_view text, std::string& storage) {
  constexpr std::size_t mostBytesPerUnit = 3;
  storage.resize(std::max(storage.size(), mostBytesPerUnit * text.size()));
  const std::size_t prefix = mostOfASCIIPrefix(text);
  char* const start = storage.data();
  std::ranges::transform(text.substr(0, prefix), start, [](char16_t unit) { return static_cast<char>(unit); });
  // To look for further ASCII would cost what it saves in nearly every language.
  text.remove_prefix(prefix);
  std::int32_t written = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8WithSub(start + prefix, static_cast<std::int32_t>(storage.size() - prefix), &written, text.data(),
                     static_cast<std::int32_t>(text.size()), 0xFFFD, nullptr, &status);
  return std::string_view(storage).substr(0, prefix + static_cast<std::size_t>(written));
}

std::string lowerCased(std::string_view text) {
  if (!isASCII(text)) return mapped(text, icu::CaseMap::utf8ToLower);
  std::string result(text);
  for (char& c : result) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return result;
}

std::string decomposed(std::string_view text) {
  if (isASCII(text)) return std::string(text);
  return mapped(text, [](const char*, std::uint32_t, icu::StringPiece part, icu::ByteSink& sink, icu::Edits* edits,
                         UErrorCode& status) {
    const icu::Normalizer2* const form = icu::Normalizer2::getNFDInstance(status);
    if (U_SUCCESS(status) != 0) form->normalizeUTF8(0, part, sink, edits, status);
  });
}

std::string caseFolded(std::string_view text) {
  if (isASCII(text)) return lowerCased(text);
  return mapped(text,
                [](const char*, std::uint32_t options, icu::StringPiece part, icu::ByteSink& sink, icu::Edits* edits,
                   UErrorCode& status) { icu::CaseMap::utf8Fold(options, part, sink, edits, status); });
}

std::string upperCased(std::string_view text) {
  if (!isASCII(text)) return mapped(text, icu::CaseMap::utf8ToUpper);
  std::string result(text);
  for (char& c : result) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  return result;
}

std::string_view trimmed(std::string_view text) {
  return trimmedAtEnd(trimmedAtStart(text, isWhiteSpace), isWhiteSpace);
}

std::string_view trimmedAtEnd(std::string_view text) { return trimmedAtEnd(text, isWhiteSpace); }

std::string_view trimmedOfBlanks(std::string_view text) { return trimmedAtEnd(trimmedAtStart(text, isBlank), isBlank); }

std::size_t findBehindLastWhiteSpace(std::string_view text) {
  std::size_t start = text.size();
  for (std::size_t next = start; next > 0 && !isWhiteSpace(previousCharacter(text, next));) start = next;
  return start;
}

std::string lettersAndDigits(std::string_view text) {
  std::string result;
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t start = position;
    const UChar32 character = nextCharacter(text, position);
    if (character >= 0 && u_isalnum(character) != 0) result += text.substr(start, position - start);
  }
  return result;
}

std::string withoutWhiteSpace(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  if (isASCII(text)) {
    std::remove_copy_if(text.begin(), text.end(), std::back_inserter(result), isASCIIWhiteSpace);
    return result;
  }
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t start = position;
    const UChar32 character = nextCharacter(text, position);
    if (!isWhiteSpace(character)) result += text.substr(start, position - start);
  }
  return result;
}

}  // namespace tallyfold

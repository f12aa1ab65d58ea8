#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tallyfold {

/// Whether `text` is well-formed UTF-8: no surrogates, nothing overlong, nothing cut off.
bool isValidUTF8(std::string_view text);

/// `text` with U+FFFD in the place of each ill-formed sequence (a maximal subpart, Unicode 15 chapter 3.9).
std::string wellFormedUTF8(std::string_view text);

constexpr bool isHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool isLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// UTF-16 text, of at most 2^28 units, as UTF-8, with U+FFFD for each surrogate without its partner. The result is a
/// view of `storage`, which grows to three bytes for each unit and never shrinks: it is valid until `storage` changes.
std::string_view utf8Of(std::u16string_view text, std::string& storage);

/// UTF-8 text in the case mapping of the Unicode standard, the same in every locale. Bytes that are not well-formed
/// UTF-8 stay as they are.
std::string lowerCased(std::string_view text);
std::string upperCased(std::string_view text);

/// UTF-8 text in one of the forms of which texts that are canonically equivalent have the same (NFD), and with full
/// case folding, the same in every locale. Bytes that are not well-formed UTF-8 stay as they are.
std::string decomposed(std::string_view text);
std::string caseFolded(std::string_view text);

/// White space is what has the Unicode property White_Space, which includes line breaks. Blanks are the tab and the
/// characters of category Zs: white space within a line. Bytes that are not well-formed UTF-8 are neither.
///
/// `text` without the white space at both its ends, without the white space at its end, or without the blanks at both.
std::string_view trimmed(std::string_view text);
std::string_view trimmedAtEnd(std::string_view text);
std::string_view trimmedOfBlanks(std::string_view text);

/// Where the part of `text` that follows its last white space begins: 0 when there is none, the size at its end.
std::size_t findBehindLastWhiteSpace(std::string_view text);

/// UTF-8 text without any character that is not a letter (category L) or a decimal digit (category Nd), and without
/// ill-formed bytes.
std::string lettersAndDigits(std::string_view text);

/// UTF-8 text without any character that has the Unicode property White_Space (which includes line breaks). Bytes that
/// are not well-formed UTF-8 stay as they are.
std::string withoutWhiteSpace(std::string_view text);

}  // namespace tallyfold

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/services/FileHashResult.h"

namespace tallyfold {

// Values as the formats of reports write them. All texts are well-formed UTF-8.

/// Appends a JSON string: `"` and `\` and control characters are escaped (`\b \f \n \r \t`, else `\u00` and two
/// lower-case digits), slashes are not, all else is UTF-8 as it stands.
void appendJsonString(std::string& text, std::string_view value);

/// Appends a field of CSV (RFC 4180) in quotes.
void appendQuoted(std::string& text, std::string_view field);

/// Appends a text so that it stays on its line and in its column, and does not reorder what is beside it: `\` as `\\`;
/// line break, carriage return and tab as `\n`, `\r` and `\t`; other control characters, the separators of lines and
/// paragraphs, and the marks of writing direction as `\u` and four lower-case digits.
void appendOnOneLine(std::string& text, std::string_view value);

/// A time as RFC 3339 has it, in UTC without fraction; none when its year does not have four digits.
std::optional<std::string> internetDateTime(const Timestamp& time);

}  // namespace tallyfold

#pragma once

#include <string>
#include <string_view>

namespace tallyfold {

/// UTF-8 text in the case mapping of the Unicode standard, the same in every locale. Bytes that are not well-formed
/// UTF-8 stay as they are.
std::string lowerCased(std::string_view text);
std::string upperCased(std::string_view text);

/// UTF-8 text without any character that has the Unicode property White_Space (which includes line breaks). Bytes that
/// are not well-formed UTF-8 stay as they are.
std::string withoutWhiteSpace(std::string_view text);

}  // namespace tallyfold

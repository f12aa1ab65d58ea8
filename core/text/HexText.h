#pragma once

#include <string>
#include <string_view>

namespace tallyfold {

/// The form in which a digest that a person typed or a list supplied is compared: without white space, in lower case,
/// without one leading "0x". Not checked for being hexadecimal. `text` is UTF-8; ill-formed bytes stay.
std::string normalizedHex(std::string_view text);

/// Whether every byte is an ASCII hexadecimal digit. True for the empty text.
bool isASCIIHex(std::string_view text);

}  // namespace tallyfold

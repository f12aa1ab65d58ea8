#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace tallyfold {

/// UTF-8 text that others chose, as one line in which nothing is hidden: control characters, line breaks, blanks other
/// than the space, marks that begin a name, and whatever else shows as nothing or reorders the text around it, appear
/// as "<U+202E>". Joiners and the selector U+FE0F stay where writing wants them: where RFC 5892 (appendices A.1 and
/// A.2) allows U+200C and U+200D, and within the emoji sequences that Unicode recommends for interchange. Ill-formed
/// bytes become U+FFFD.
///
/// What would be longer than `mostCharacters` keeps its beginning and its end, with "…" between them, and never a part
/// of an escape or of an emoji sequence. That takes time and memory for `mostCharacters`, however long the text is.
std::string visibleText(std::string_view text, std::size_t mostCharacters = std::numeric_limits<std::size_t>::max());

}  // namespace tallyfold

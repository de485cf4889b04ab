#pragma once

#include <cstdint>
#include <string_view>

namespace quillo {

// What a text may hold without its being seen. Pure; any thread.

// Returns the number of the character that a well-formed sequence stands for (RFC 3629).
std::uint32_t codePointOf(std::string_view sequence);
// Returns true for characters that show nothing themselves and change what is around them, or who
// reads it: the control characters of both ranges (ISO/IEC 6429), and the marks of the
// bidirectional algorithm (Unicode Standard Annex 9), of line separation and of width zero.
bool hides(std::uint32_t codePoint);

}  // namespace quillo

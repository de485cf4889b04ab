#pragma once

#include <string>
#include <string_view>

namespace quillo {

// How the report of the tree's own scanner spells any bytes as one line of valid UTF-8: other bytes
// and control characters as "\xNN" (two upper-case digits), and so a backslash that such a thing
// follows in the text itself ("\x5C"); all else as it stands. Pure; any thread.
std::string reportedText(std::string_view bytes);
// The bytes that a text of the above stands for.
std::string bytesOfReported(std::string_view text);

}  // namespace quillo

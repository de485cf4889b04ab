#pragma once

#include <string>
#include <string_view>

namespace quillo {

// Any bytes as well-formed UTF-8 in which nothing hides: control characters, line breaks and the
// marks that turn the direction of writing are shown as "\n", "\x1b" or "\u202e", and bytes that
// are no UTF-8 as "\xff". Pure; any thread.
std::string visibleText(std::string_view text);
// The same, but line feeds stay line feeds.
std::string visibleLines(std::string_view text);

// At most about `limit` bytes of well-formed UTF-8: the start and the end of a longer text with "…"
// between them, cut between characters.
std::string cutInTheMiddle(std::string_view text, std::size_t limit);

}  // namespace quillo

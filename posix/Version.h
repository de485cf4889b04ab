#pragma once

#include <string_view>

namespace quillo {

// "0.1.0": of which version of the project this program is.
extern const char* const projectVersion;

// Prints the text on standard output. Returns the exit status of a program that was asked for no
// more: 0, or 1 when it cannot be printed.
int printText(std::string_view text);
// Prints the program's name and version, as above.
int printVersion(std::string_view program);

}  // namespace quillo

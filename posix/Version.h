#pragma once

#include <string_view>

namespace quillo {

// The version of the project that this program is of: "0.1.0".
extern const char* const projectVersion;

// Prints the text on standard output. Returns the exit status of a program that was asked for no
// more: 0, or 1 when it cannot be printed.
int printText(std::string_view text);
// Prints the program's name and version. Returns the same.
int printVersion(std::string_view program);

}  // namespace quillo

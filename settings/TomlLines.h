#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "settings/TomlSpelling.h"
#include "settings/TomlStatements.h"

namespace quillo {

// Small changes of a text of TOML, and its lines. Pure functions; any thread.

bool isBlank(std::string_view text);
std::string_view between(const std::string& text, std::size_t begin, std::size_t end);
// Returns where the line of the byte at `at` begins, and where its line end, "\n" or "\r\n", is.
std::size_t lineStart(const std::string& text, std::size_t at);
std::size_t endOfLine(const std::string& text, std::size_t at);
// Returns the white space with which the line at `line` begins.
std::string indentAt(const std::string& text, std::size_t line);
void replaceSpan(std::string& text, TextSpan span, const std::string& with);

// Returns the text with one element more at the end of the array, written as the last one is: on a
// line of its own, or beside it.
std::string withMemberAdded(std::string text, TextSpan array, const std::string& element,
                            const std::string& lineEnd);
// Takes a member out of its array or table, with the comma that is too many then, and its line if
// nothing else is on it.
void eraseTomlMember(std::string& text, const std::vector<TomlMember>& members, std::size_t index);
// Gives keys of a table "{...}" these values, and takes those of `without` out.
void changeTomlTable(std::string& text, TextSpan table, const TomlFields& fields,
                     const std::vector<std::string>& without);

}  // namespace quillo

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quillo {

// Where what stands in a text of TOML (toml.io, v1.0.0), in bytes. The texts are well-formed: a
// parser has taken them.
struct TextSpan {
  std::size_t begin = 0;
  std::size_t end = 0;  // behind the last byte
};

// A key with its value, or the header of a table.
struct TomlStatement {
  enum class Kind { key, table, entryOfArray };

  Kind kind = Kind::key;
  std::vector<std::string> name;  // its parts, without quotes
  TextSpan value;                 // of a key; without space or comment around it
  TextSpan lines;                 // from the start of its first line to behind the last line's end
};

// Returns the statements of a text in their order. Pure; any thread.
std::vector<TomlStatement> tomlStatements(const std::string& text);

// An element of an array, or a key with its value in a table, that are written within a value.
struct TomlMember {
  std::vector<std::string> name;  // empty in an array
  TextSpan whole;
  TextSpan value;
};

// Returns what stands between the brackets of `value`, which is "[...]" or "{...}". Pure; any
// thread.
std::vector<TomlMember> tomlMembers(const std::string& text, TextSpan value);
// Returns the place of the first byte at or behind `at`, which is not within a value, that is
// neither white space, nor a line end, nor in a comment. Pure; any thread.
std::size_t behindTomlSpace(const std::string& text, std::size_t at);

}  // namespace quillo

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillo {

// Which file lies at a path, and in which state.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;  // of its inode, which goes to another file when this one is deleted
  // Nanoseconds since 1970. 0 when its file system does not say when a file was made.
  std::int64_t made = 0;
  std::int64_t changed = 0;  // its contents
  std::int64_t size = 0;

  // Returns the identity of the regular file itself that bears that name, no link's; nothing when
  // there is none or it cannot be reached. Any thread. statx(2).
  static std::optional<FileIdentity> at(const std::string& path);
  // Sets `error` to 0 when anything lies there, else to the errno that says why not.
  static std::optional<FileIdentity> at(const std::string& path, int& error);
  // Returns that of a name in an open folder, and that of an open regular file.
  static std::optional<FileIdentity> in(int folder, const std::string& name);
  static std::optional<FileIdentity> in(int folder, const std::string& name, int& error);
  static std::optional<FileIdentity> of(int descriptor);
  // Equal: the same file with the same contents, as far as the file system shows.
  bool operator==(const FileIdentity&) const = default;
};

// Returns the hash SHA-256 (FIPS 180-4) of everything in an open file, from its start, as 64 digits
// of base 16; nothing when the file cannot be read or holds more than `longest` bytes. Leaves the
// descriptor's place alone. Any thread.
std::optional<std::string> sha256OfFile(int descriptor, std::int64_t longest);
// Returns that of these bytes. Pure; any thread.
std::string sha256Of(std::string_view bytes);

}  // namespace quillo

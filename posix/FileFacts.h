#pragma once

#include <fcntl.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace quillo {

// What the queue and the watch list ask of a file.
struct FileFacts {
  bool isDirectory = false;
  // Bytes. Never 0 for a folder, whose own size some file systems give as 0.
  std::int64_t size = 0;
};

// Facts about what the path leads to (links are followed); absent when nothing is there or it
// cannot be reached. Any thread. stat(2).
std::optional<FileFacts> fileFacts(const std::string& path);
bool fileExists(const std::string& path);
bool isReadableFile(const std::string& path);
// The whole file as bytes; absent when it cannot be read.
std::optional<std::string> contentsOfFile(const std::string& path);
// Returns the same of a regular file of at most `largest` bytes and never waits for a pipe or a
// device of that name; absent, with errno, for anything else. A relative path begins at `folder`.
enum class Links { followed, refused };
std::optional<std::string> contentsOfRegularFile(const std::string& path, Links links,
                                                 std::size_t largest = std::string::npos,
                                                 int folder = AT_FDCWD);
// What an open file still holds; absent, with errno, when it cannot be read or is more than
// `largest` bytes (EFBIG).
std::optional<std::string> restOfFile(int descriptor, std::size_t largest = std::string::npos);
// What a link says; absent, with errno, when there is none of that name.
std::optional<std::string> targetOfLink(const std::string& path);
// Whether the path itself, not what it leads to, is a folder.
bool isFolderItself(const std::string& path);
// Whether what lies in the folder can be listed.
bool isListableFolder(const std::string& path);
// Whether the path itself, not what it leads to, is a folder of this user's own.
bool isOwnFolder(const std::string& path);

}  // namespace quillo

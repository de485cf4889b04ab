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

// Returns facts about what the path leads to (links are followed); nothing when nothing is there or
// it cannot be reached. Any thread, as all below. stat(2).
std::optional<FileFacts> fileFacts(const std::string& path);
bool fileExists(const std::string& path);
bool isReadableFile(const std::string& path);
// Returns the whole file as bytes; nothing when it cannot be read.
std::optional<std::string> contentsOfFile(const std::string& path);
enum class Links { followed, refused };
// Returns the whole of a regular file of at most `largest` bytes; nothing, with errno, for anything
// else. Never waits for a pipe or a device of that name. A relative path begins at `folder`.
std::optional<std::string> contentsOfRegularFile(const std::string& path, Links links,
                                                 std::size_t largest = std::string::npos,
                                                 int folder = AT_FDCWD);
// Returns what an open file still holds; nothing, with errno, when it cannot be read or is more
// than `largest` bytes (EFBIG).
std::optional<std::string> restOfFile(int descriptor, std::size_t largest = std::string::npos);
// Returns what a link says; nothing, with errno, when there is none of that name.
std::optional<std::string> targetOfLink(const std::string& path);
// Returns true when the path leads to a folder whose entries this process may list.
bool isListableFolder(const std::string& path);
// Return true when the path itself, not what it leads to, is a folder; a folder of this user's own.
bool isFolderItself(const std::string& path);
bool isOwnFolder(const std::string& path);

}  // namespace quillo

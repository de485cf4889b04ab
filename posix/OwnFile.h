#pragma once

#include <string>

namespace quillo {

// Writes a file that only this user may read, in a folder that others may write too. What this user
// left there is replaced; what somebody else put there is neither followed nor touched. Returns
// what went wrong in words, `subject` first; empty when nothing did. Any thread.
std::string writeOwnFile(const std::string& subject, const std::string& path,
                         const std::string& contents);

// Writes a new file that only this user may write, and makes the folders that it lies in. What is
// there already, a link too, is not touched, which is a failure. Returns the same. Any thread.
std::string writeNewFile(const std::string& subject, const std::string& path,
                         const std::string& contents);

// Makes a folder that only this user may enter, and those above it, unless they are there. Returns
// 0 or an errno. Any thread.
int makeFolders(const std::string& path);

}  // namespace quillo

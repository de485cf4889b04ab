#pragma once

#include <string>
#include <vector>

#include "posix/UniqueFd.h"

namespace quillo {

// The file that names the paths of one run to the scanner, one a line (posix/EscapedPath.h). It
// lies in a folder that every user may write, so it is only ever a new file of this user's own: one
// that somebody else put there is neither followed nor used. The list is then kept in memory and
// handed to the scanner as its descriptor 3. Owned by one thread.
class ScanList {
 public:
  explicit ScanList(const std::string& scannerName);

  // Writes the list. Returns what went wrong with the file in words, "" when nothing did; the list
  // can be used all the same. Throws PlatformException when it could be kept nowhere.
  std::string write(const std::vector<std::string>& paths);
  // Returns what "--file-list=" gets.
  const std::string& argumentPath() const { return memory_ ? memoryPath_ : path_; }
  // Returns what is to be the scanner's descriptor 3; -1 when the list is a file.
  int descriptor() const { return memory_.get(); }
  // Removes the file, if the list is one.
  void remove();

 private:
  void keepInMemory(const std::string& text);

  const std::string path_;
  const std::string memoryPath_ = "/dev/fd/3";
  UniqueFd memory_;
};

}  // namespace quillo

#pragma once

#include <set>
#include <string>

namespace quillo {

class Folders;
class SystemLog;

// Remembers from one run to the next what the user was told, in files of the user's state folder.
// Main thread.
class SeenHints {
 public:
  SeenHints(Folders& folders, SystemLog& log) : folders_(folders), log_(log) {}

  // Whether it is to be told now: not if it was before. In this run it is not to be told again.
  bool isNews(const std::string& subject);
  // Nor is it in later ones: it has been told. That it cannot be remembered the log says.
  void remember(const std::string& subject);
  // It is news again.
  void forget(const std::string& subject);

 private:
  std::string fileOf(const std::string& subject) const;

  Folders& folders_;
  SystemLog& log_;
  std::set<std::string> seenNow_;
};

}  // namespace quillo

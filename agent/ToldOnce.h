#pragma once

#include <string>

namespace quillo {

class Folders;
class SystemLog;

// Remembers from one run to the next what the user was told, in files of the user's state folder.
// Main thread.
class ToldOnce {
 public:
  ToldOnce(Folders& folders, SystemLog& log) : folders_(folders), log_(log) {}

  // Whether it is to be told now: not if it was before. From then on it was, unless that cannot be
  // remembered, which the log says.
  bool isNews(const std::string& subject);
  // It is news again.
  void forget(const std::string& subject);

 private:
  std::string fileOf(const std::string& subject) const;

  Folders& folders_;
  SystemLog& log_;
};

}  // namespace quillo

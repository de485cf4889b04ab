#pragma once

#include <string>
#include <vector>

#include "companion/quarantine/QuarantineWords.h"
#include "platform/Page.h"

namespace quillo {

// What is asked before something is done with files in the quarantine. Each question names up to
// ten of the files; the first button does it. Pure; any thread.
class QuarantineQuestions {
 public:
  using Files = std::vector<QuarantinedFile>;
  static constexpr std::size_t mostNamed = 10;

  explicit QuarantineQuestions(const QuarantineWords& words) : words_(words) {}

  // Returns those files that no check has found clean.
  static Files notClean(const Files& files);
  // Before files that are still infected, or were never checked, leave the quarantine or are
  // allowed: with their threats.
  Question putBack(const Files& files) const;
  Question allow(const Files& files) const;
  // Where the folders are gone in which the files were, or the one that was chosen.
  Question makeFolders(const Files& files) const;
  Question makeFolder(const std::string& folder) const;
  Question remove(const Files& files) const;
  Question removeForGood(const Files& files) const;

 private:
  Question infected(const std::string& key, const std::string& button, const Files& files) const;
  std::string named(const Files& files) const;
  std::string list(const std::vector<std::string>& lines, std::size_t all) const;

  const QuarantineWords words_;
};

}  // namespace quillo

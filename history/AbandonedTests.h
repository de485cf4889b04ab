#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillo {

// How the names of the files begin with which self-tests try the way of an infected file; what
// follows nobody can guess.
inline constexpr std::string_view selfTestBeginning = "vantrel-self-test-";

// The files of self-tests that are over. A find may be entered later, and is that of a test all the
// same. A file of this user's own keeps the latest of them. Any thread.
class AbandonedTests {
 public:
  static constexpr std::size_t most = 50;

  // `folder` is the agent's own for what it remembers.
  explicit AbandonedTests(std::string folder) : path_(std::move(folder) + "/abandoned-tests") {}

  // Takes note of the file of that path. Returns what went wrong; "" when nothing did.
  std::string add(const std::string& path) const;
  // Returns whether that path is one of such a file, on whatever way.
  bool have(std::string_view path) const;

 private:
  std::vector<std::string> names() const;

  const std::string path_;
};

}  // namespace quillo

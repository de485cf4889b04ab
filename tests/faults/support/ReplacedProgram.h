#pragma once

#include <string>

namespace quillo::tests {

// A shell script in place of a program, as long as this object. The program lies beside it
// meanwhile, as NAME.real.
class ReplacedProgram {
 public:
  ReplacedProgram(std::string path, const std::string& script);
  ~ReplacedProgram();
  ReplacedProgram(const ReplacedProgram&) = delete;
  ReplacedProgram& operator=(const ReplacedProgram&) = delete;

 private:
  const std::string path_;
};

}  // namespace quillo::tests

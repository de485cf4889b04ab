#include "tests/faults/support/ReplacedProgram.h"

#include <sys/stat.h>

#include <filesystem>
#include <utility>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace fs = std::filesystem;

ReplacedProgram::ReplacedProgram(std::string path, const std::string& script)
    : path_(std::move(path)) {
  writeFile(path_ + ".faulty", "#!/bin/sh\n" + script + "\n");
  check(chmod((path_ + ".faulty").c_str(), 0755), "chmod");
  fs::rename(path_, path_ + ".real");
  fs::rename(path_ + ".faulty", path_);
}

ReplacedProgram::~ReplacedProgram() {
  std::error_code ignored;
  fs::rename(path_ + ".real", path_, ignored);
}

}  // namespace quillo::tests

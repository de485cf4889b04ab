#include "posix/Version.h"

#include <unistd.h>

#include <string>

#include "posix/UniqueFd.h"

namespace quillo {

const char* const projectVersion = QUILLO_VERSION;

int printText(std::string_view text) { return writeAll(STDOUT_FILENO, text) ? 0 : 1; }

int printVersion(std::string_view program) {
  return printText(std::string(program) + " " + projectVersion + "\n");
}

}  // namespace quillo

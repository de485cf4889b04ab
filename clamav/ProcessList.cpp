#include "clamav/ProcessList.h"

#include <unistd.h>

#include "posix/ChildProcess.h"
#include "posix/Text.h"

namespace quillo {
namespace {

constexpr const char* listing = "/bin/ps -axww | /usr/bin/grep clamd | grep -v grep";
constexpr int noLineMatched = 1;

std::size_t positionBehindStart(std::string_view text, std::string_view option) {
  const std::size_t at = text.find(option);
  return at == std::string_view::npos ? 0 : at;
}

std::string_view from(std::string_view text, std::size_t position) {
  return text.substr(std::min(position, text.size()));
}

}  // namespace

RunningDaemon parseProcessList(std::string_view text) {
  const std::size_t slash = text.find('/');
  const std::string_view command = text.substr(slash == std::string_view::npos ? 0 : slash);
  const auto daemon = [command](std::size_t option, std::size_t optionLength) {
    return RunningDaemon{std::string(command.substr(0, option - 1)),
                         std::string(trimmed(from(command, option + optionLength)))};
  };
  if (const std::size_t option = positionBehindStart(command, "--config"); option > 0) {
    return daemon(option, std::string_view("--config-file=").size());
  }
  if (const std::size_t option = positionBehindStart(command, "-c"); option > 0) {
    return daemon(option, std::string_view("-c ").size());
  }
  return {std::string(trimmed(command)), std::nullopt};
}

std::optional<RunningDaemon> findRunningDaemon() {
  const char* shell = access("/bin/tcsh", X_OK) == 0 ? "/bin/tcsh" : "/bin/sh";
  ChildProcess child({shell, {"-c", listing}});
  // Read while it runs: a long list would fill the pipe and never end.
  std::string text;
  const int status = child.waitUntilExit([&text](std::string_view chunk) {
    text += chunk;
    return true;
  });
  if (status == noLineMatched) {
    return std::nullopt;
  }
  return parseProcessList(text);
}

}  // namespace quillo

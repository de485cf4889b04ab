#include "clamav/DaemonCommand.h"

#include <algorithm>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view longOption = "--config-file";

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
    return daemon(option, longOption.size() + 1);
  }
  if (const std::size_t option = positionBehindStart(command, "-c"); option > 0) {
    return daemon(option, std::string_view("-c ").size());
  }
  return {std::string(trimmed(command)), std::nullopt};
}

std::string configurationOption(const std::vector<std::string>& words) {
  for (std::size_t i = 1; i < words.size(); ++i) {
    const std::string& word = words[i];
    std::string next = i + 1 < words.size() ? words[i + 1] : std::string();
    if (word == "-c" || word == longOption) {
      return next;
    }
    if (word.compare(0, longOption.size() + 1, std::string(longOption) + "=") == 0) {
      return word.substr(longOption.size() + 1);
    }
    if (word.size() > 2 && word.compare(0, 2, "-c") == 0) {
      return word.substr(2);
    }
  }
  return {};
}

}  // namespace quillo

#include "platform/linux/services/Environment.h"

#include <unistd.h>

#include <string_view>

namespace quillo {

Environment Environment::ofThisProcess() {
  Variables variables;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string_view text(*entry);
    const std::size_t equals = text.find('=');
    if (equals != std::string_view::npos) {
      variables.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
  }
  return Environment(std::move(variables));
}

std::optional<std::string> Environment::value(const std::string& name) const {
  const auto found = variables_.find(name);
  if (found == variables_.end() || found->second.empty()) {
    return std::nullopt;
  }
  return found->second;
}

std::optional<std::string> Environment::folder(const std::string& name) const {
  std::optional<std::string> path = value(name);
  if (!path || path->front() != '/') {
    return std::nullopt;
  }
  while (path->size() > 1 && path->back() == '/') {
    path->pop_back();
  }
  return path;
}

}  // namespace quillo

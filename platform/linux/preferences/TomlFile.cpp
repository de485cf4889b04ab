#include "platform/linux/preferences/TomlFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <toml++/toml.h>

#include <cerrno>
#include <cstring>
#include <sstream>

#include "posix/FileFacts.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::size_t largestFile = 4UL * 1024 * 1024;

PreferenceValue converted(const toml::node& node);

PreferenceArray converted(const toml::array& array) {
  PreferenceArray result;
  for (const toml::node& element : array) {
    result.push_back(converted(element));
  }
  return result;
}

PreferenceDictionary converted(const toml::table& table) {
  PreferenceDictionary result;
  for (const auto& [key, node] : table) {
    result.emplace(std::string(key.str()), converted(node));
  }
  return result;
}

template <typename T>
std::string spelled(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

PreferenceValue converted(const toml::node& node) {
  switch (node.type()) {
    case toml::node_type::table:
      return {converted(*node.as_table())};
    case toml::node_type::array:
      return {converted(*node.as_array())};
    case toml::node_type::string:
      return {node.as_string()->get()};
    case toml::node_type::integer:
      return {node.as_integer()->get()};
    case toml::node_type::floating_point:
      return {node.as_floating_point()->get()};
    case toml::node_type::boolean:
      return {node.as_boolean()->get()};
    case toml::node_type::date:
      return {spelled(node.as_date()->get())};
    case toml::node_type::time:
      return {spelled(node.as_time()->get())};
    case toml::node_type::date_time:
      return {spelled(node.as_date_time()->get())};
    default:
      return {std::string()};
  }
}

void cannotRead(TomlFile& file, const std::string& path, int error) {
  const std::string reason = std::strerror(error);
  file.problem = path + ": " + reason;
  file.wording = {"PATH_UNREADABLE", {path, reason}};
}

std::string versionOf(const struct stat& info) {
  return std::to_string(info.st_dev) + ' ' + std::to_string(info.st_ino) + ' ' +
         std::to_string(info.st_size) + ' ' + std::to_string(info.st_mtim.tv_sec) + ' ' +
         std::to_string(info.st_mtim.tv_nsec);
}

}  // namespace

TomlFile TomlFile::read(const std::string& path) {
  TomlFile file;
  // Not to hang on a FIFO that somebody put there.
  const UniqueFd descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!descriptor) {
    if (errno != ENOENT && errno != ENOTDIR) {
      cannotRead(file, path, errno);
    }
    return file;
  }
  struct stat info = {};
  if (fstat(descriptor.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    file.problem = path + ": not a regular file";
    file.wording = {"PATH_NO_REGULAR_FILE", {path}};
    return file;
  }
  file.version = versionOf(info);
  const std::optional<std::string> text = restOfFile(descriptor.get(), largestFile);
  if (!text) {
    cannotRead(file, path, errno);
    return file;
  }
  try {
    file.values = converted(toml::parse(*text, path));
  } catch (const toml::parse_error& error) {
    const toml::source_position at = error.source().begin;
    file.problem = path + ':' + std::to_string(at.line) + ':' + std::to_string(at.column) + ": " +
                   std::string(error.description());
    file.wording.values = {file.problem};
  }
  return file;
}

}  // namespace quillo

#include "platform/linux/index/MetadataExclusion.h"

#include <fnmatch.h>

#include <string_view>

#include "posix/Text.h"

namespace quillo {
namespace {

bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) {
    return false;
  }
  text = trimmed(text.substr(prefix.size()));
  return true;
}

}  // namespace

std::optional<MetadataExclusion> MetadataExclusion::parse(const std::string& queryText) {
  std::string_view text = trimmed(queryText);
  if (text.starts_with("(") && text.ends_with(")")) {
    text = trimmed(text.substr(1, text.size() - 2));
  }
  if (!takePrefix(text, "kMDItemFSName") || !takePrefix(text, "!=") || !text.starts_with("'")) {
    return std::nullopt;
  }
  const std::size_t end = text.rfind('\'');
  const std::string_view modifiers = text.substr(end + 1);
  if (end == 0 || (!modifiers.empty() && modifiers != "c")) {
    return std::nullopt;
  }
  return MetadataExclusion(std::string(text.substr(1, end - 1)), modifiers == "c");
}

bool MetadataExclusion::leavesOut(const std::string& path) const {
  return fnmatch(pattern_.c_str(), path.c_str(), anyCase_ ? FNM_CASEFOLD : 0) == 0;
}

}  // namespace quillo

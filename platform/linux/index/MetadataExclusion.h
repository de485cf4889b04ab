#pragma once

#include <optional>
#include <string>

namespace quillo {

// The text of a query for everything but what matches one pattern, as metadata queries are written:
// "(kMDItemFSName != 'PATTERN'c)". Pure; any thread.
class MetadataExclusion {
 public:
  // Nothing for any other text.
  static std::optional<MetadataExclusion> parse(const std::string& queryText);
  // Whether the path is one of those left out. "*" and "?" also stand for a "/".
  bool leavesOut(const std::string& path) const;

 private:
  MetadataExclusion(std::string pattern, bool anyCase)
      : pattern_(std::move(pattern)), anyCase_(anyCase) {}

  std::string pattern_;
  bool anyCase_;
};

}  // namespace quillo

#include "companion/selftest/RecordedFinds.h"

#include <algorithm>

#include "posix/Text.h"

namespace quillo {
namespace {

using Done = SelfTestEvidence::Done;
using Find = SelfTestEvidence::Find;
using Outcome = HistoryResult::Outcome;

// One file is found once, or a few times while it is written.
constexpr std::size_t mostRows = 20;

Find findIn(const HistoryResult& result) {
  switch (result.outcome) {
    case Outcome::quarantined:
      return {result.says, Done::quarantined, result.detail};
    case Outcome::trashed:
      return {result.says, Done::trashed, result.detail};
    default:
      return {result.says, Done::leftInPlace, ""};
  }
}

}  // namespace

std::optional<Find> RecordedFinds::findOf(const std::string& path, std::int64_t since) {
  const std::string name(lastPathComponent(path));
  if (name.empty() || reader_.open() != HistoryReader::State::good) {
    return std::nullopt;
  }
  HistoryFilter filter;
  filter.text = name;
  filter.kind = HistoryResult::Kind::found;
  filter.since = WallTime(std::chrono::seconds(since));
  const HistorySelection selection = reader_.select(filter);
  for (const HistoryResult& result :
       reader_.rows(selection, 0, std::min(mostRows, selection.count()))) {
    // The way to it may be another one: the agent follows the links in it.
    if (lastPathComponent(result.path) == name && result.outcome != Outcome::unsaid) {
      mark_({result.path, Outcome::selfTest, ""});
      return findIn(result);
    }
  }
  return std::nullopt;
}

}  // namespace quillo

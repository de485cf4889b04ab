#include "companion/selftest/RecordedFinds.h"

#include <algorithm>

#include "posix/RealPath.h"
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

// The way to it may be another one: the agent follows the links in it.
std::vector<HistoryResult> RecordedFinds::findsOf(const std::string& name, std::int64_t since) {
  if (name.empty() || reader_.open() != HistoryReader::State::good) {
    return {};
  }
  HistoryFilter filter;
  filter.text = name;
  filter.kind = HistoryResult::Kind::found;
  filter.since = WallTime(std::chrono::seconds(since));
  const HistorySelection selection = reader_.select(filter);
  auto finds = reader_.rows(selection, 0, std::min(mostRows, selection.count()));
  std::erase_if(finds, [&name](const HistoryResult& result) {
    return lastPathComponent(result.path) != name;
  });
  return finds;
}

std::optional<Find> RecordedFinds::findOf(const std::string& path, std::int64_t since) {
  for (const HistoryResult& result : findsOf(std::string(lastPathComponent(path)), since)) {
    if (result.outcome != Outcome::unsaid) {
      mark_({result.path, Outcome::selfTest, ""});
      return findIn(result);
    }
  }
  return std::nullopt;
}

// Noted first: what is entered from then on is a test's. What is being entered at this moment
// cannot be seen yet; the last mark waits for it.
void RecordedFinds::abandon(const std::string& path, std::int64_t since) {
  abandoned_.add(path);
  for (const HistoryResult& result : findsOf(std::string(lastPathComponent(path)), since)) {
    if (result.outcome != Outcome::selfTest) {
      mark_({result.path, Outcome::selfTest, ""});
    }
  }
  const std::string folder = RealPath(deletingLastPathComponent(path)).path();
  mark_({folder + "/" + std::string(lastPathComponent(path)), Outcome::selfTest, ""});
}

}  // namespace quillo

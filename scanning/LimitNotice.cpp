#include "scanning/LimitNotice.h"

#include <algorithm>
#include <array>
#include <vector>

#include "clamav/ScanLimits.h"
#include "clamav/Verdict.h"
#include "platform/LocalizedStrings.h"
#include "platform/Notifier.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// What browsers call a download that is not complete.
constexpr std::array<std::string_view, 4> unfinished = {".part", ".crdownload", ".partial",
                                                        ".download"};

std::string sizeInWords(std::uint64_t bytes, LocalizedStrings& strings) {
  constexpr std::array<const char*, 4> keys = {"SIZE_BYTES", "SIZE_KB", "SIZE_MB", "SIZE_GB"};
  const RoundSize size = roundSize(bytes);
  return Wording{keys[static_cast<std::size_t>(size.unit)], {std::to_string(size.number)}}.in(
      strings);
}

}  // namespace

bool ReportedFiles::add(const std::string& path) {
  MutexLock hold(lock_);
  if (!paths_.insert(path).second) {
    return false;
  }
  inOrder_.push_back(path);
  if (inOrder_.size() > most) {
    paths_.erase(inOrder_.front());
    inOrder_.pop_front();
  }
  return true;
}

bool isKnownToItsUser(std::string_view path) {
  return path.find("/.") == std::string_view::npos &&
         std::none_of(unfinished.begin(), unfinished.end(),
                      [path](std::string_view end) { return path.ends_with(end); });
}

void LimitNotice::add(const Verdict& verdict, ReportedFiles* reported) {
  if (verdict.kind != Verdict::Kind::notScanned || verdict.limit == Verdict::Limit::none ||
      !isKnownToItsUser(verdict.path) || (reported && !reported->add(verdict.path))) {
    return;
  }
  const auto [place, isFirst] = kinds_.try_emplace({verdict.limit, verdict.largestFile});
  if (isFirst) {
    // One line, whatever the name holds.
    place->second.first = lastPathComponent(reportedText(verdict.path));
  } else {
    ++place->second.others;
  }
}

void LimitNotice::post(Notifier& notifier, LocalizedStrings& strings,
                       const std::function<void()>& showResults) {
  for (const auto& [kind, files] : kinds_) {
    Wording text{kind.first == Verdict::Limit::fileSize ? "TOO_LARGE" : "NOT_TO_ITS_END",
                 {files.first}};
    if (files.others == 1) {
      text.key += "_AND_ONE";
    } else if (files.others > 1) {
      text.key += "_AND_MORE";
      text.values.push_back(std::to_string(files.others));
    }
    if (kind.first == Verdict::Limit::fileSize) {
      text.values.push_back(sizeInWords(kind.second, strings));
    }
    NotificationDetails details;
    details.buttons.push_back({strings.stringForKey("NOTIFICATION_RESULTS", ""), showResults});
    notifier.displayGrowlDialogWithTitleAndDescription(notificationHint, text.in(strings), details);
  }
  kinds_.clear();
}

}  // namespace quillo

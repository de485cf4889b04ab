#include "platform/linux/services/PolkitAuthorization.h"

#include <algorithm>

#include "platform/linux/services/SetUserIdSafety.h"
#include "platform/linux/text/VisibleText.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// pkexec(1), "RETURN VALUE".
constexpr int dismissed = 126;
constexpr int notAuthorized = 127;
constexpr std::size_t mostOutput = 4096;
// For sh(1): runs its arguments, then takes back one of the two bits that "chmod +s" gives.
constexpr char keepUserBitAlone[] = "\"$@\" || exit; [ ! -g \"$0\" ] || chmod g-s \"$0\"";

struct Outcome {
  int status;
  std::string output;
};

Outcome run(const LaunchRequest& request) {
  ChildProcess child(request);
  std::string output;
  const int status = child.waitUntilExit([&](std::string_view chunk) {
    output += chunk.substr(0, mostOutput - std::min(mostOutput, output.size()));
    return true;
  });
  return {status, visibleLines(trimmed(output))};
}

}  // namespace

bool PolkitAuthorization::executeWithPrivileges(const std::string& program,
                                                const std::vector<std::string>& arguments,
                                                std::string& reason) {
  if (const Wording why = whyUnsafe(places_.helper); !why.empty()) {
    reason = text("HELPER_UNSAFE", why.in(strings_));
    return false;
  }
  std::vector<std::string> words{"/bin/sh", "-c", keepUserBitAlone, places_.helper};
  if (!places_.isRoot) {
    if (whyUnsafe(places_.granter).empty()) {
      words = {places_.granter};
    }
    // A background agent has no terminal to ask on.
    words.insert(words.begin(), {places_.pkexec, "--disable-internal-agent"});
  }
  words.push_back(program);
  words.insert(words.end(), arguments.begin(), arguments.end());
  const LaunchRequest request{words.front(), {words.begin() + 1, words.end()}};
  try {
    const Outcome outcome = run(request);
    if (outcome.status == 0) {
      return true;
    }
    if (!places_.isRoot && outcome.status == dismissed) {
      reason = text("AUTHORIZATION_DISMISSED");
    } else if (!places_.isRoot && outcome.status == notAuthorized) {
      reason = text("AUTHORIZATION_REFUSED", outcome.output);
    } else {
      reason = text("AUTHORIZATION_FAILED",
                    outcome.output.empty() ? std::to_string(outcome.status) : outcome.output);
    }
  } catch (const PlatformException& failure) {
    reason = places_.isRoot ? text("AUTHORIZATION_FAILED", program + ": " + failure.reason())
                            : text("AUTHORIZATION_UNAVAILABLE", places_.pkexec);
  }
  return false;
}

std::string PolkitAuthorization::text(const std::string& key, const std::string& detail) const {
  const std::string whole = replacingAll(strings_.stringForKey(key, key + " %@"), "%@", detail);
  return std::string(trimmed(whole));
}

}  // namespace quillo

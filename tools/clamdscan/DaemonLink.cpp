#include "tools/clamdscan/DaemonLink.h"

#include <poll.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

namespace quillo::wrapper {
namespace {

// The starter may go while the daemon is waited for.
constexpr std::chrono::milliseconds longestWait{2000};
// A daemon that is alive answers within this time, however busy it is.
constexpr std::chrono::milliseconds longestPing{30000};

}  // namespace

DaemonLink::DaemonLink(const TreeSettings& tree, Report& report, const Starter& starter,
                       std::chrono::milliseconds patience)
    : tree_(tree),
      report_(report),
      starter_(starter),
      patience_(patience),
      // Enough for a daemon of the user's own, and no look into the user database.
      trusted_({0, geteuid()}) {}

DaemonConnection DaemonLink::connect() {
  const auto deadline = std::chrono::steady_clock::now() + patience_;
  for (;;) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    DaemonConnection connection = connectToDaemon(
        tree_.daemonSocket, trusted_, std::clamp(left, std::chrono::milliseconds(1), longestWait));
    if (!connection.distrust.empty() && !std::exchange(allTrustedKnown_, true)) {
      trusted_ = trustedDaemonUsers(tree_.daemonAccount);
      continue;
    }
    if (connection.socket || connection.error != EAGAIN || left.count() <= 0) {
      return connection;
    }
    starter_.check();
  }
}

std::optional<ScanSession> DaemonLink::open() {
  if (!problem_.empty()) {
    return std::nullopt;
  }
  DaemonConnection connection = connect();
  if (connection.socket) {
    return ScanSession(std::move(connection.socket));
  }
  report_.error("ERROR: Could not connect to clamd on LocalSocket " + tree_.daemonSocket + ": " +
                (connection.distrust.empty() ? strerror(connection.error) : connection.distrust));
  problem_ = connection.distrust.empty() ? "the daemon cannot be reached"
                                         : "the daemon is not trusted: " + connection.distrust;
  return std::nullopt;
}

bool DaemonLink::answers() {
  const auto deadline = std::chrono::steady_clock::now() + std::min(patience_, longestPing);
  // Longer each time, for a machine may be slow.
  for (auto wait = std::min(patience_, longestWait);; wait *= 2) {
    const DaemonState state = pingDaemon(tree_.daemonSocket, trusted_, wait);
    if (state != DaemonState::silent) {
      return state == DaemonState::answers;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      return false;
    }
    starter_.check();
  }
}

void DaemonLink::forgetWhatIsClean() {
  const DaemonConnection connection = connect();
  constexpr std::string_view command("zRELOAD\0", 8);
  // It does not take what comes from somebody who has gone.
  if (connection.socket && sendToDaemon(connection.socket.get(), command) > 0) {
    pollfd answer = {connection.socket.get(), POLLIN, 0};
    poll(&answer, 1, static_cast<int>(longestWait.count()));
  }
}

void DaemonLink::announceLoss() {
  report_.error("ERROR: Clamd closed the connection before scanning all files.");
  if (!open()) {
    return;
  }
  problem_ = "the daemon cannot be reached";
  report_.error("ERROR: Could not connect to clamd on LocalSocket " + tree_.daemonSocket +
                ": nobody answers there");
}

void DaemonLink::announceStall(std::chrono::nanoseconds length) {
  report_.error("ERROR: clamd on LocalSocket " + tree_.daemonSocket + " gave no sign of life for " +
                std::to_string(std::chrono::duration_cast<std::chrono::seconds>(length).count()) +
                " seconds");
}

}  // namespace quillo::wrapper

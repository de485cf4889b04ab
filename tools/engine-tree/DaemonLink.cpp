#include "tools/engine-tree/DaemonLink.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "posix/UniqueFd.h"

namespace quillo {
namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

UniqueFd connectTo(const std::string& socketPath) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (socketPath.empty() || socketPath.size() >= sizeof address.sun_path) {
    return UniqueFd();
  }
  std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
  UniqueFd link(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (link &&
      connect(link.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    link.reset();
  }
  return link;
}

bool belongsTo(int link, const std::vector<uid_t>& trusted) {
  ucred peer = {};
  socklen_t size = sizeof peer;
  return getsockopt(link, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
         std::find(trusted.begin(), trusted.end(), peer.uid) != trusted.end();
}

// False when the deadline passes first.
bool waitForData(int link, SteadyTime deadline) {
  for (;;) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      return false;
    }
    pollfd watched = {link, POLLIN, 0};
    const int ready = poll(&watched, 1, static_cast<int>(left.count()));
    if (ready > 0) {
      return true;
    }
    if (ready == 0 || errno != EINTR) {
      return false;
    }
  }
}

}  // namespace

DaemonState pingDaemon(const std::string& socketPath, const std::vector<uid_t>& trusted,
                       std::chrono::milliseconds patience) {
  const UniqueFd link = connectTo(socketPath);
  if (!link || !belongsTo(link.get(), trusted)) {
    return DaemonState::absent;
  }
  constexpr std::string_view question("zPING\0", 6);
  if (send(link.get(), question.data(), question.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(question.size())) {
    return DaemonState::absent;
  }
  const SteadyTime deadline = std::chrono::steady_clock::now() + patience;
  std::string answer;
  std::array<char, 64> piece;
  while (answer.size() < 4) {
    if (!waitForData(link.get(), deadline)) {
      return DaemonState::silent;
    }
    const ssize_t count = recv(link.get(), piece.data(), piece.size(), 0);
    if (count <= 0) {
      return DaemonState::absent;
    }
    answer.append(piece.data(), static_cast<std::size_t>(count));
  }
  return answer.compare(0, 4, "PONG") == 0 ? DaemonState::answers : DaemonState::absent;
}

}  // namespace quillo

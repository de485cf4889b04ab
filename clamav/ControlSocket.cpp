#include "clamav/ControlSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

#include "posix/Text.h"

namespace quillo {
namespace {

// The accounts that a machine's daemon may run as: `configured`, and those that the packages make.
std::vector<std::string> daemonAccountNames(const std::string& configured) {
  return {configured, "clamav", "clamscan"};
}

using SteadyTime = std::chrono::steady_clock::time_point;

constexpr const char* strangersFolder = "its folder belongs to somebody else";

bool holds(const std::vector<uid_t>& users, uid_t user) {
  return std::find(users.begin(), users.end(), user) != users.end();
}

std::string nameOf(const std::string& path) { return std::string(lastPathComponent(path)); }

// The folder that holds the socket; errno on failure.
UniqueFd openFolderOf(const std::string& path) {
  const std::string folder = deletingLastPathComponent(path);
  return UniqueFd(open(folder.empty() ? "." : folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

std::string distrustOfSocketIn(int folder, const std::string& name,
                               const std::vector<uid_t>& trusted) {
  struct stat status = {};
  if (fstat(folder, &status) != 0) {
    return "its folder cannot be looked at";
  }
  const bool shared = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
  const bool sticky = (status.st_mode & S_ISVTX) != 0;
  if (!holds(trusted, status.st_uid)) {
    return strangersFolder;
  }
  if (!shared) {
    return "";
  }
  if (!sticky) {
    return "others may write to its folder";
  }
  struct stat socket = {};
  if (fstatat(folder, name.c_str(), &socket, AT_SYMLINK_NOFOLLOW) != 0) {
    return "";  // nothing is there
  }
  return S_ISSOCK(socket.st_mode) && holds(trusted, socket.st_uid)
             ? ""
             : "it belongs to somebody else, in a folder that everybody may write";
}

std::optional<ucred> peerOf(int connection) {
  ucred peer = {};
  socklen_t size = sizeof peer;
  if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
    return std::nullopt;
  }
  return peer;
}

// The same limit holds for connect(2) (socket(7), unix(7)); 0 is none.
void limitSending(int link, std::chrono::milliseconds patience) {
  timeval limit = {};
  limit.tv_sec = static_cast<time_t>(patience.count() / 1000);
  limit.tv_usec = static_cast<suseconds_t>(patience.count() % 1000 * 1000);
  setsockopt(link, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

// Through the opened folder: the checked one whatever happens to the path, and its length does not
// count.
int connectIn(int folder, const std::string& name, int link, std::chrono::milliseconds patience) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = "/proc/self/fd/" + std::to_string(folder) + "/" + name;
  if (path.size() >= sizeof address.sun_path) {
    return ENAMETOOLONG;
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  limitSending(link, patience);
  int error = EINTR;
  while (error == EINTR) {
    error =
        connect(link, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
  }
  limitSending(link, {});
  return error;
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

Account packagedAccount(const std::string& configured) {
  for (const std::string& name : daemonAccountNames(configured)) {
    if (std::optional<Account> account = accountNamed(name)) {
      return std::move(*account);
    }
  }
  return accountNumbered(0);
}

std::vector<uid_t> trustedDaemonUsers(const std::string& account) {
  std::vector<uid_t> users = {0, geteuid()};
  for (const std::string& name : daemonAccountNames(account)) {
    if (const std::optional<Account> entry = accountNamed(name)) {
      users.push_back(entry->user);
    }
  }
  return users;
}

std::string distrustOfSocket(const std::string& path, const std::vector<uid_t>& trusted) {
  if (path.empty() || !isAscii(path)) {
    return "its path is " + std::string(path.empty() ? "empty" : "not ASCII");
  }
  const UniqueFd folder = openFolderOf(path);
  return folder ? distrustOfSocketIn(folder.get(), nameOf(path), trusted) : "";
}

std::string distrustOfPeer(int connection, const std::vector<uid_t>& trusted) {
  const std::optional<ucred> peer = peerOf(connection);
  if (!peer) {
    return "who listens there cannot be told";
  }
  return holds(trusted, peer->uid) ? ""
                                   : "a program of user " + std::to_string(peer->uid) + " listens";
}

pid_t peerProcess(int connection) {
  const std::optional<ucred> peer = peerOf(connection);
  return peer ? peer->pid : 0;
}

DaemonConnection connectToDaemon(const std::string& path, const std::vector<uid_t>& trusted,
                                 std::chrono::milliseconds patience) {
  if (path.empty() || !isAscii(path)) {
    return {UniqueFd(), EINVAL, distrustOfSocket(path, trusted)};
  }
  UniqueFd link(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!link) {
    return {UniqueFd(), errno, "", DaemonConnection::Step::makeSocket};
  }
  const UniqueFd folder = openFolderOf(path);
  if (!folder) {
    return {UniqueFd(), errno, ""};
  }
  if (std::string why = distrustOfSocketIn(folder.get(), nameOf(path), trusted); !why.empty()) {
    return {UniqueFd(), EPERM, std::move(why)};
  }
  if (const int error = connectIn(folder.get(), nameOf(path), link.get(), patience); error != 0) {
    return {UniqueFd(), error, ""};
  }
  if (std::string why = distrustOfPeer(link.get(), trusted); !why.empty()) {
    return {UniqueFd(), EPERM, std::move(why)};
  }
  return {std::move(link), 0, ""};
}

DaemonState pingDaemon(const std::string& socketPath, const std::vector<uid_t>& trusted,
                       std::chrono::milliseconds patience) {
  const DaemonConnection connection = connectToDaemon(socketPath, trusted, patience);
  if (!connection.socket) {
    return connection.error == EAGAIN ? DaemonState::silent : DaemonState::absent;
  }
  const UniqueFd& link = connection.socket;
  constexpr std::string_view question("zPING\0", 6);
  if (sendToDaemon(link.get(), question) != static_cast<ssize_t>(question.size())) {
    return DaemonState::absent;
  }
  const SteadyTime deadline = std::chrono::steady_clock::now() + patience;
  std::string answer;
  std::array<char, 64> piece;
  while (answer.size() < 4) {
    if (!waitForData(link.get(), deadline)) {
      return DaemonState::silent;
    }
    const ssize_t count = receiveFromDaemon(link.get(), piece.data(), piece.size());
    if (count <= 0) {
      return DaemonState::absent;
    }
    answer.append(piece.data(), static_cast<std::size_t>(count));
  }
  return answer.compare(0, 4, "PONG") == 0 ? DaemonState::answers : DaemonState::absent;
}

ssize_t sendToDaemon(int connection, std::string_view bytes) {
  ssize_t count = -1;
  do {
    count = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  } while (count < 0 && errno == EINTR);
  return count;
}

ssize_t receiveFromDaemon(int connection, char* buffer, std::size_t size) {
  ssize_t count = -1;
  do {
    count = recv(connection, buffer, size, 0);
  } while (count < 0 && errno == EINTR);
  return count;
}

}  // namespace quillo

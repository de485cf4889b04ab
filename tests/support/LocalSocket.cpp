#include "tests/support/LocalSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace quillo {
namespace {

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

UniqueFd streamSocket() { return UniqueFd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)); }

}  // namespace

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address = {AF_UNIX, {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return address;
}

UniqueFd bindTo(const std::string& path) {
  UniqueFd listener = streamSocket();
  const sockaddr_un address = addressOf(path);
  unlink(path.c_str());
  if (bind(listener.get(), generic(address), sizeof address) != 0) {
    throw std::runtime_error("cannot make a socket at " + path);
  }
  return listener;
}

UniqueFd listenAt(const std::string& path) {
  UniqueFd listener = bindTo(path);
  if (listen(listener.get(), 16) != 0) {
    throw std::runtime_error("cannot listen at " + path);
  }
  return listener;
}

UniqueFd connectTo(const std::string& path) {
  UniqueFd connection = streamSocket();
  const sockaddr_un address = addressOf(path);
  if (connect(connection.get(), generic(address), sizeof address) != 0) {
    throw std::runtime_error("cannot connect to " + path);
  }
  return connection;
}

StopSignal::StopSignal() {
  std::array<int, 2> ends = {-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("there is no pipe");
  }
  reader_.reset(ends[0]);
  writer_.reset(ends[1]);
}

bool StopSignal::awaitReadable(int descriptor) const {
  std::array<pollfd, 2> watched = {{{descriptor, POLLIN, 0}, {reader_.get(), POLLIN, 0}}};
  poll(watched.data(), watched.size(), -1);
  return watched[1].revents == 0;
}

}  // namespace quillo

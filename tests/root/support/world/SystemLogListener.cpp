#include "tests/root/support/world/SystemLogListener.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

constexpr char path[] = "/dev/log";

}  // namespace

SystemLogListener::SystemLogListener()
    : socket_(check(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "making a socket")) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path, sizeof(path));
  check(bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), path);
  check(chmod(path, 0666), path);
}

SystemLogListener::~SystemLogListener() {
  close(socket_);
  unlink(path);
}

std::string SystemLogListener::next(std::chrono::milliseconds limit) {
  std::array<char, 8192> text;
  if (!awaitReadable(socket_, limit)) return std::string();
  const ssize_t got = recv(socket_, text.data(), text.size(), 0);
  return std::string(text.data(), got > 0 ? static_cast<size_t>(got) : 0);
}

}  // namespace quillo::tests

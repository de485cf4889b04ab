#include "tests/root/support/world/Lines.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "tests/root/support/world/FilesAndMounts.h"
#include "tests/support/Waiting.h"

namespace quillo::tests {
namespace {

constexpr char path[] = "/dev/log";

}  // namespace

using std::chrono::steady_clock;

Lines::Lines(int fd) : fd_(fd) {}

Lines::~Lines() { reset(); }

void Lines::reset(int fd) {
  if (fd_ >= 0) close(fd_);
  fd_ = fd;
}

Lines::Outcome Lines::readMore(steady_clock::time_point until) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(until - steady_clock::now()).count();
  if (left < 0 || !awaitReadable(fd_, std::chrono::milliseconds(left))) return Outcome::timeout;
  std::array<char, 65536> part;
  const ssize_t got = read(fd_, part.data(), part.size());
  if (got <= 0) return Outcome::end;
  partial_.append(part.data(), static_cast<size_t>(got));
  size_t begin = 0;
  for (size_t end; (end = partial_.find('\n', begin)) != std::string::npos; begin = end + 1) {
    lines_.push_back(partial_.substr(begin, end - begin));
  }
  partial_.erase(0, begin);
  return Outcome::more;
}

bool Lines::waitFor(const std::string& line, std::chrono::milliseconds limit) {
  const auto until = steady_clock::now() + limit;
  size_t seen = 0;
  for (;;) {
    for (; seen < lines_.size(); ++seen) {
      if (lines_[seen] == line) return true;
    }
    if (readMore(until) != Outcome::more) return false;
  }
}

bool Lines::waitForCount(size_t count, const std::function<bool(const std::string&)>& isWanted) {
  const auto until = steady_clock::now() + 3 * deadline;
  size_t seen = 0;
  size_t found = 0;
  for (;;) {
    for (; seen < lines_.size(); ++seen) found += isWanted(lines_[seen]) ? 1 : 0;
    if (found >= count) return true;
    if (readMore(until) != Outcome::more) return false;
  }
}

bool Lines::waitForEnd() {
  const auto until = steady_clock::now() + deadline;
  for (;;) {
    const Outcome outcome = readMore(until);
    if (outcome != Outcome::more) return outcome == Outcome::end;
  }
}

size_t Lines::count(const std::string& line) const {
  return static_cast<size_t>(std::count(lines_.begin(), lines_.end(), line));
}

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

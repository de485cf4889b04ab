#include "tests/root/support/engine/PrivateClamd.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <stdexcept>

#include "posix/ChildProcess.h"
#include "posix/UniqueFd.h"

// glibc 2.36 declares these without saying that they are C functions.
extern "C" {
#include <sys/pidfd.h>
}

namespace quillo::tests {
namespace {

constexpr int patience = 20000;  // ms

std::string hex(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    text += digits[static_cast<unsigned char>(byte) >> 4U];
    text += digits[static_cast<unsigned char>(byte) & 0xFU];
  }
  return text;
}

}  // namespace

std::string eicar() {
  return std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$") + "EICAR-STANDARD-" + "ANTIVIRUS-" +
         "TEST-FILE!$H+H*";
}

PrivateClamd::PrivateClamd(const Settings& settings) {
  folder_.file("db/test.ndb", settings.database.empty() ? "Test-Threat:0:0:" + hex(eicar()) + "\n"
                                                        : settings.database);
  folder_.makeFolder("socket");
  const mode_t mode = settings.forEveryUser ? 0755 : 0700;
  chmod(folder_.path().c_str(), mode);
  chmod(folder_.at("socket").c_str(), mode);
  folder_.file("clamd.conf", "LocalSocket " + socket() + "\nLocalSocketMode 666\nPidFile " +
                                 folder_.at("pid") + "\nLogFile " + folder_.at("log") +
                                 "\nDatabaseDirectory " + folder_.at("db") + "\n" + settings.lines);
  ChildProcess starter({"/usr/sbin/clamd", {"-c", configuration()}});
  std::string output;
  const int status = starter.waitUntilExit([&](std::string_view chunk) {
    output += chunk;
    return true;
  });
  // Its number and its first answer come a moment after it has detached. The process that started
  // it ends with 0, or of the signal by which the daemon tells it, if that comes too early.
  const auto isUp = [this] {
    process_ = static_cast<pid_t>(std::atol(ScratchFolder::read(folder_.at("pid")).c_str()));
    return process_ > 1 && answers();
  };
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(patience);
  bool up = isUp();
  while (status != 1 && !up && std::chrono::steady_clock::now() < deadline) {
    poll(nullptr, 0, 10);
    up = isUp();
  }
  if (!up) {
    throw std::runtime_error("clamd does not come up: " + output +
                             ScratchFolder::read(folder_.at("log")));
  }
}

PrivateClamd::~PrivateClamd() { end(); }

void PrivateClamd::end() const {
  if (process_ <= 1) {
    return;
  }
  const UniqueFd pidfd(pidfd_open(process_, 0));
  if (pidfd) {
    pidfd_send_signal(pidfd.get(), SIGKILL, nullptr, 0);
    pollfd end = {pidfd.get(), POLLIN, 0};
    poll(&end, 1, patience);
  }
}

bool PrivateClamd::answers() const {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = socket();
  std::copy_n(path.begin(), std::min(path.size(), sizeof(address.sun_path) - 1), address.sun_path);
  const UniqueFd link(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  constexpr std::string_view question("PING\0", 5);
  std::array<char, 16> answer = {};
  pollfd ready = {link.get(), POLLIN, 0};
  return connect(link.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
         write(link.get(), question.data(), question.size()) > 0 &&
         poll(&ready, 1, patience) == 1 && read(link.get(), answer.data(), answer.size()) >= 4 &&
         std::string_view(answer.data(), 4) == "PONG";
}

void PrivateClamd::send(int signal) const { kill(process_, signal); }

}  // namespace quillo::tests

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
#include "tests/support/LocalSocket.h"
#include "tests/support/StarterCare.h"
#include "tests/support/Waiting.h"

// glibc 2.36 declares these without saying that they are C functions.
extern "C" {
#include <sys/pidfd.h>
}

namespace quillo::tests {
namespace {

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
  folder_.write("db/test.ndb", settings.database.empty() ? "Test-Threat:0:0:" + hex(eicar()) + "\n"
                                                         : settings.database);
  folder_.makeFolder("socket");
  const mode_t mode = settings.forEveryUser ? 0755 : 0700;
  chmod(folder_.path().c_str(), mode);
  chmod(folder_.at("socket").c_str(), mode);
  folder_.write("clamd.conf", "LocalSocket " + socket() + "\nLocalSocketMode 666\nPidFile " +
                                  folder_.at("pid") + "\nLogFile " + folder_.at("log") +
                                  "\nDatabaseDirectory " + folder_.at("db") + "\n" +
                                  settings.lines);
  const StarterCare care([this] { return answers(); });
  ChildProcess starter({"/usr/sbin/clamd", {"-c", configuration()}});
  std::string output;
  const int status = starter.waitUntilExit([&](std::string_view chunk) {
    output += chunk;
    return true;
  });
  // Its number and its first answer come a moment after it has detached. The process that started
  // it ends with 0, or of the signal by which the daemon reports it, if that comes too early.
  const auto isUp = [this] {
    process_ = static_cast<pid_t>(std::atol(TemporaryFolder::read(folder_.at("pid")).c_str()));
    return process_ > 1 && answers();
  };
  if (!(status == 1 ? isUp() : awaitThat(isUp))) {
    throw std::runtime_error("clamd does not come up: " + output +
                             TemporaryFolder::read(folder_.at("log")));
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
    awaitReadable(pidfd.get());
  }
}

bool PrivateClamd::answers() const {
  try {
    const UniqueFd link = connectTo(socket());
    constexpr std::string_view question("PING\0", 5);
    std::array<char, 16> answer = {};
    return write(link.get(), question.data(), question.size()) > 0 && awaitReadable(link.get()) &&
           read(link.get(), answer.data(), answer.size()) >= 4 &&
           std::string_view(answer.data(), 4) == "PONG";
  } catch (const std::runtime_error&) {
    return false;
  }
}

void PrivateClamd::send(int signal) const { kill(process_, signal); }

}  // namespace quillo::tests

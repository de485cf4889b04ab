#include "engine/ClamdCtrl.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/SystemLog.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

// The daemon's own limit for the path, whatever the platform's record could hold.
constexpr std::size_t longestPath = 104;
constexpr std::size_t commandLength = 6;
constexpr std::size_t replyLength = 20;

// Whether each byte is ASCII: other paths cannot be put into the address.
bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool fail(const char* message, const std::string& subject, const char* call) {
  const int error = errno;
  std::printf(message, subject.c_str());
  std::fflush(stdout);
  errno = error;
  std::perror(call);
  return false;
}

}  // namespace

bool ClamdCtrl::communicateWithSocketWithCommand(const std::optional<std::string>& path,
                                                 const std::string& command) {
  if (!path) {
    log_.log(std::string("Please email this line to ") + supportAddress +
             " >In ClamdCtrl, pathToSocket is nil, command is " + command +
             "< Please also include the file at /usr/local/vantrel/etc/clamd.conf");
    return true;
  }
  const std::string asciiPath = isAscii(*path) ? *path : "";
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  static_assert(sizeof address.sun_path >= longestPath);
  std::copy_n(asciiPath.begin(), std::min(asciiPath.size(), longestPath), address.sun_path);

  const UniqueFd endpoint(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!endpoint) {
    return fail("Error, can't create socket endpoint for %s.\n", asciiPath, "socket()");
  }
  if (connect(endpoint.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return fail("Error, can't connect to clamd through %s.\n", asciiPath, "connect()");
  }
  char bytes[commandLength] = {};
  std::copy_n(command.begin(), std::min(command.size(), commandLength), bytes);
  // A daemon that closes at once must not end this process with SIGPIPE.
  if (send(endpoint.get(), bytes, sizeof bytes, MSG_NOSIGNAL) < 0) {
    return fail("Error, could not write to %s socket\n", "UNIX", "write()");
  }
  char reply[replyLength] = {};
  [[maybe_unused]] const ssize_t ignored = read(endpoint.get(), reply, sizeof reply);
  return true;
}

}  // namespace quillo

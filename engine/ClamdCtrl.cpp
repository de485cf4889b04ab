#include "engine/ClamdCtrl.h"

#include <cerrno>
#include <cstdio>

#include "clamav/ControlSocket.h"
#include "platform/SystemLog.h"
#include "posix/Text.h"

namespace quillo {
namespace {

// The daemon's own limit for the path, whatever the platform's record could hold.
constexpr std::size_t longestPath = 104;
constexpr std::size_t commandLength = 6;
constexpr std::size_t replyLength = 20;

bool fail(const char* message, const std::string& subject, const char* call, int error) {
  std::printf(message, subject.c_str());
  std::fflush(stdout);
  errno = error;
  std::perror(call);
  return false;
}

}  // namespace

bool ClamdCtrl::communicateWithSocketWithCommand(const std::optional<std::string>& path,
                                                 const std::string& command, const Peers& peers) {
  if (!path) {
    log_.log(std::string("Please email this line to ") + supportAddress +
             " >In ClamdCtrl, pathToSocket is nil, command is " + command +
             "< Please also include the file at /usr/local/vantrel/etc/clamd.conf");
    return true;
  }
  const std::string asciiPath = isAscii(*path) ? *path : "";
  const DaemonConnection daemon = connectToDaemon(asciiPath.substr(0, longestPath), peers.users);
  if (!daemon.socket) {
    if (!daemon.distrust.empty()) {
      log_.log("No " + command + " is sent to the socket \"" + *path + "\": " + daemon.distrust);
    }
    const bool noSocket = daemon.failed == DaemonConnection::Step::makeSocket;
    return noSocket ? fail("Error, can't create socket endpoint for %s.\n", asciiPath, "socket()",
                           daemon.error)
                    : fail("Error, can't connect to clamd through %s.\n", asciiPath, "connect()",
                           daemon.error);
  }
  if (peers.isMeant && !peers.isMeant(peerProcess(daemon.socket.get()))) {
    log_.log("No " + command + " is sent to the clamd at " + asciiPath +
             ", which somebody else has started");
    return false;
  }
  std::string bytes = command.substr(0, commandLength);
  bytes.resize(commandLength, '\0');
  if (sendToDaemon(daemon.socket.get(), bytes) < 0) {
    return fail("Error, could not write to %s socket\n", "UNIX", "write()", errno);
  }
  char reply[replyLength] = {};
  [[maybe_unused]] const ssize_t ignored =
      receiveFromDaemon(daemon.socket.get(), reply, sizeof reply);
  return true;
}

}  // namespace quillo

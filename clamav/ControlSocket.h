#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "posix/Accounts.h"
#include "posix/UniqueFd.h"

namespace quillo {

// The daemon's UNIX-domain socket (unix(7), clamd(8)): who may stand behind it, and signs of life.
// Whoever answers there gets descriptors of private files and is believed, so a listener counts
// only when nobody but the trusted users can have put it there.

// Returns the account that the packages made for the daemon, `configured` if they say so; root's
// without one. Any thread.
Account packagedAccount(const std::string& configured);
// Returns those whose daemon is trusted: root, this user, and the accounts that the packages made
// for the machine's daemon, with `account` when its configuration names another. Any thread.
std::vector<uid_t> trustedDaemonUsers(const std::string& account = "");

// Returns why a socket at `path` may be somebody else's; "" when it may not, or nothing is there.
// Its folder has to belong to one of `trusted` and be writable by nobody else; in a folder with the
// sticky bit the socket itself has to be theirs. An empty path, and one that is not ASCII, name no
// socket. Any thread.
std::string distrustOfSocket(const std::string& path, const std::vector<uid_t>& trusted);
// Returns why the process that listens on the other end (SO_PEERCRED) is not trusted; "" when it
// is.
std::string distrustOfPeer(int connection, const std::vector<uid_t>& trusted);
// Returns that process's number, which for a socket that a service manager opened is the manager's;
// 0 where it is unknown.
pid_t peerProcess(int connection);

// A connection whose socket and peer are trusted, or why there is none.
struct DaemonConnection {
  UniqueFd socket;       // connected, blocking, close-on-exec; none on failure
  int error = 0;         // errno of the failure; EPERM when somebody listens who is not trusted
  std::string distrust;  // then also why
  // What failed; to be not trusted is to be not connected.
  enum class Step { makeSocket, connect } failed = Step::connect;
};
// Connects with both checks around connect(2), for paths of any length. Waits for a daemon that has
// no place left in its queue of callers, at most for `patience` where that is not 0; fails with
// EAGAIN then. Any thread.
DaemonConnection connectToDaemon(const std::string& path, const std::vector<uid_t>& trusted,
                                 std::chrono::milliseconds patience = {});

enum class DaemonState {
  absent,  // nobody listens, or somebody who is not trusted
  silent,  // somebody accepts connections but does not answer: loading definitions, or stopped
  answers
};

// Asks the daemon behind the socket for a sign of life (PING, clamd(8)), waiting for the answer for
// at most `patience`. Any thread.
DaemonState pingDaemon(const std::string& socketPath, const std::vector<uid_t>& trusted,
                       std::chrono::milliseconds patience);

// send(2) of a few bytes and recv(2), which go on after a signal and never raise SIGPIPE.
ssize_t sendToDaemon(int connection, std::string_view bytes);
ssize_t receiveFromDaemon(int connection, char* buffer, std::size_t size);

}  // namespace quillo

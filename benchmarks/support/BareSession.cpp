#include "benchmarks/support/BareSession.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>
#include <stdexcept>

#include "posix/UniqueFd.h"

namespace bench {
namespace {

// As many as the daemon takes in at once.
constexpr std::size_t underWay = 100;

quillo::UniqueFd connected(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  quillo::UniqueFd connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("no daemon at " + path);
  }
  return connection;
}

void sendFile(int connection, const std::string& path) {
  const quillo::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    throw std::runtime_error("cannot open " + path);
  }
  // The command, and the one byte that goes with the descriptor.
  std::array<char, 9> command{"zFILDES"};
  iovec bytes{command.data(), command.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> room{};
  msghdr message = {};
  message.msg_iov = &bytes;
  message.msg_iovlen = 1;
  message.msg_control = room.data();
  message.msg_controllen = room.size();
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  const int descriptor = file.get();
  std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
  if (sendmsg(connection, &message, MSG_NOSIGNAL) != static_cast<ssize_t>(command.size())) {
    throw std::runtime_error("the daemon takes no descriptor");
  }
}

// Reads until at least one answer has come; returns how many, and counts what was found.
std::size_t receive(int connection, std::string& pending, int& infected) {
  std::array<char, 16384> chunk{};
  for (;;) {
    const ssize_t count = quillo::readSome(connection, chunk.data(), chunk.size());
    if (count <= 0) {
      throw std::runtime_error("the daemon ended the session");
    }
    pending.append(chunk.data(), static_cast<std::size_t>(count));
    std::size_t answers = 0;
    for (std::size_t end = 0; (end = pending.find('\0')) != std::string::npos;) {
      infected += std::string_view(pending).substr(0, end).ends_with(" FOUND") ? 1 : 0;
      pending.erase(0, end + 1);
      ++answers;
    }
    if (answers > 0) {
      return answers;
    }
  }
}

}  // namespace

int scanInSession(const std::string& socket, const std::vector<std::string>& paths) {
  const quillo::UniqueFd connection = connected(socket);
  if (!quillo::writeAll(connection.get(), std::string_view("zIDSESSION\0", 11))) {
    throw std::runtime_error("the daemon takes no session");
  }
  std::string pending;
  int infected = 0;
  std::size_t sent = 0;
  for (std::size_t answered = 0; answered < paths.size();) {
    while (sent < paths.size() && sent - answered < underWay) {
      sendFile(connection.get(), paths[sent++]);
    }
    answered += receive(connection.get(), pending, infected);
  }
  return infected;
}

}  // namespace bench

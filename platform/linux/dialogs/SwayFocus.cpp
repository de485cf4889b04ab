#include "platform/linux/dialogs/SwayFocus.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <QByteArray>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "posix/UniqueFd.h"

namespace quillo {
namespace {

constexpr std::string_view magic = "i3-ipc";
constexpr std::uint32_t runCommand = 0;
constexpr std::size_t headerSize = magic.size() + 2 * sizeof(std::uint32_t);
constexpr std::uint32_t longestAnswer = 4096;
constexpr timeval patience = {0, 500000};
constexpr std::string_view rule = R"(no_focus [app_id="^org\.vantrel\.VantrelQuillo$" floating])";

UniqueFd connectTo(const QByteArray& path) {
  sockaddr_un address = {AF_UNIX, {}};
  if (path.isEmpty() || path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) {
    return {};
  }
  std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
  UniqueFd connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
    setsockopt(connection.get(), SOL_SOCKET, option, &patience, sizeof patience);
  }
  if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return {};
  }
  return connection;
}

bool receive(int connection, char* to, std::size_t size) {
  return recv(connection, to, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

std::string answerTo(int connection, std::string_view command) {
  const std::array<std::uint32_t, 2> numbers = {static_cast<std::uint32_t>(command.size()),
                                                runCommand};
  std::string message(magic);
  message.append(reinterpret_cast<const char*>(numbers.data()), sizeof numbers);
  message += command;
  std::array<char, headerSize> header = {};
  std::uint32_t size = 0;
  if (send(connection, message.data(), message.size(), MSG_NOSIGNAL) !=
          static_cast<ssize_t>(message.size()) ||
      !receive(connection, header.data(), header.size())) {
    return "";
  }
  std::memcpy(&size, header.data() + magic.size(), sizeof size);
  std::string answer(size <= longestAnswer ? size : 0, '\0');
  return receive(connection, answer.data(), answer.size()) ? answer : "";
}

}  // namespace

bool keepFocusFromFloatingWindows() {
  const UniqueFd connection = connectTo(qgetenv("SWAYSOCK"));
  if (!connection) {
    return false;
  }
  const std::string answer = answerTo(connection.get(), rule);
  return answer.find("\"success\": true") != std::string::npos ||
         answer.find("\"success\":true") != std::string::npos;
}

}  // namespace quillo

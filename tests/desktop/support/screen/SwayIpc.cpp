#include "tests/desktop/support/screen/SwayIpc.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "tests/support/LocalSocket.h"
#include "tests/support/Waiting.h"

namespace quillo {
namespace {

enum Kind : std::uint32_t { runCommand = 0, subscribe = 2, getTree = 4 };

constexpr std::string_view magic = "i3-ipc";
constexpr std::size_t headerSize = magic.size() + 2 * sizeof(std::uint32_t);

std::string take(int connection, std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t taken = 0; taken < size;) {
    const ssize_t more = read(connection, bytes.data() + taken, size - taken);
    if (more <= 0) {
      throw std::runtime_error("sway is gone");
    }
    taken += static_cast<std::size_t>(more);
  }
  return bytes;
}

std::string takeMessage(int connection) {
  const std::string header = take(connection, headerSize);
  std::uint32_t size = 0;
  std::memcpy(&size, header.data() + magic.size(), sizeof size);
  return take(connection, size);
}

std::string ask(int connection, Kind kind, const std::string& payload = "") {
  const std::array<std::uint32_t, 2> numbers = {static_cast<std::uint32_t>(payload.size()), kind};
  std::string message(magic);
  message.append(reinterpret_cast<const char*>(numbers.data()), sizeof numbers);
  message += payload;
  if (send(connection, message.data(), message.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(message.size())) {
    throw std::runtime_error("sway does not take \"" + payload + "\"");
  }
  return takeMessage(connection);
}

}  // namespace

SwayIpc::SwayIpc(const std::string& socket)
    : requests_(connectTo(socket)), events_(connectTo(socket)) {
  ask(events_.get(), subscribe, R"(["window", "workspace"])");
}

void SwayIpc::command(const std::string& line) {
  const std::string answer = ask(requests_.get(), runCommand, line);
  if (answer.find("\"success\": false") != std::string::npos) {
    throw std::runtime_error("sway refuses \"" + line + "\": " + answer);
  }
}

QJsonDocument SwayIpc::tree() {
  return QJsonDocument::fromJson(QByteArray::fromStdString(ask(requests_.get(), getTree)));
}

void SwayIpc::awaitEvent(std::chrono::milliseconds limit) {
  if (awaitReadable(events_.get(), limit)) {
    takeMessage(events_.get());
  }
}

}  // namespace quillo

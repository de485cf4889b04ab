#include "tests/desktop/support/screen/SwayIpc.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
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

// The objects of the connection, numbered without a gap in the order of their making.
enum Object : std::uint32_t { display = 1, registry, firstCallback, seat, manager, pointer };

enum DisplayRequest : std::uint32_t { displaySync, displayGetRegistry };
enum PointerRequest : std::uint32_t { motion, motionAbsolute, button, axis, frame };

struct Header {
  std::uint32_t object;
  std::uint32_t sizeAndCode;
};

std::uint32_t numberAt(const std::string& bytes, std::size_t place) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes.data() + place, sizeof number);
  return number;
}

std::uint32_t now() {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
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

class WaylandPointer::Request {
 public:
  Request(std::uint32_t object, std::uint32_t code) : object_(object), code_(code) {}
  Request& add(std::uint32_t number) {
    payload_.append(reinterpret_cast<const char*>(&number), sizeof number);
    return *this;
  }
  // With its length, a zero byte, and filled up to whole words.
  Request& add(const std::string& text) {
    add(static_cast<std::uint32_t>(text.size() + 1));
    payload_ += text;
    payload_.append(sizeof(std::uint32_t) - text.size() % sizeof(std::uint32_t), '\0');
    return *this;
  }
  std::string bytes() const {
    const auto size = static_cast<std::uint32_t>(sizeof(Header) + payload_.size());
    const Header header = {object_, size << 16U | code_};
    return std::string(reinterpret_cast<const char*>(&header), sizeof header) + payload_;
  }

 private:
  std::uint32_t object_;
  std::uint32_t code_;
  std::string payload_;
};

WaylandPointer::WaylandPointer(const std::string& socket)
    : connection_(connectTo(socket)), lastObject_(registry) {
  send(Request(display, displayGetRegistry).add(registry));
  sync();
  lastObject_ = pointer;
  bind("wl_seat", 1, seat);
  bind("zwlr_virtual_pointer_manager_v1", 1, manager);
  send(Request(manager, 0).add(seat).add(pointer));
  sync();
}

void WaylandPointer::send(const Request& request) const {
  const std::string bytes = request.bytes();
  if (::send(connection_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("the compositor is gone");
  }
}

std::string WaylandPointer::take(std::size_t size) const {
  std::string bytes(size, '\0');
  for (std::size_t taken = 0; taken < size;) {
    const ssize_t more = read(connection_.get(), bytes.data() + taken, size - taken);
    if (more <= 0) {
      throw std::runtime_error("the compositor is gone");
    }
    taken += static_cast<std::size_t>(more);
  }
  return bytes;
}

void WaylandPointer::sync() {
  const std::uint32_t callback = ++lastObject_;
  send(Request(display, displaySync).add(callback));
  for (;;) {
    const std::string header = take(sizeof(Header));
    const std::uint32_t sizeAndCode = numberAt(header, sizeof(std::uint32_t));
    const std::string payload = take((sizeAndCode >> 16U) - sizeof(Header));
    const std::uint32_t object = numberAt(header, 0);
    if (object == callback) {
      return;
    }
    if (object == display && (sizeAndCode & 0xffffU) == 0) {
      throw std::runtime_error("the compositor refuses the pointer");
    }
    if (object == registry && (sizeAndCode & 0xffffU) == 0) {
      globals_[payload.substr(2 * sizeof(std::uint32_t)).c_str()] = numberAt(payload, 0);
    }
  }
}

void WaylandPointer::bind(const std::string& interface, std::uint32_t version,
                          std::uint32_t object) {
  const auto global = globals_.find(interface);
  if (global == globals_.end()) {
    throw std::runtime_error("the compositor has no " + interface);
  }
  send(Request(registry, 0).add(global->second).add(interface).add(version).add(object));
}

void WaylandPointer::moveTo(int x, int y, int width, int height) {
  send(Request(pointer, motionAbsolute)
           .add(now())
           .add(static_cast<std::uint32_t>(x))
           .add(static_cast<std::uint32_t>(y))
           .add(static_cast<std::uint32_t>(width))
           .add(static_cast<std::uint32_t>(height)));
  send(Request(pointer, frame));
  sync();
}

void WaylandPointer::press(Button which) { setButton(which, true); }
void WaylandPointer::release(Button which) { setButton(which, false); }

void WaylandPointer::setButton(Button which, bool isDown) {
  send(Request(pointer, button)
           .add(now())
           .add(static_cast<std::uint32_t>(which))
           .add(static_cast<std::uint32_t>(isDown)));
  send(Request(pointer, frame));
  sync();
}

}  // namespace quillo

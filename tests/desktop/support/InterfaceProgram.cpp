#include "tests/desktop/support/InterfaceProgram.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <sstream>
#include <stdexcept>

#include "tests/support/Waiting.h"

namespace quillo {
InterfaceProgram::InterfaceProgram(UserSession& session, const std::vector<std::string>& variables,
                                   const std::string& statusItemLength, const std::string& language)
    : session_(session) {
  std::array<int, 2> ends = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    throw std::runtime_error("no socket pair");
  }
  descriptor_.reset(ends[0]);
  const UniqueFd other(ends[1]);
  LaunchRequest request{QUILLO_INTERFACE_PROGRAM,
                        {QUILLO_BINARY_DIR "/resources", language, statusItemLength},
                        LaunchRequest::Output::inherited};
  // The first of two variables of one name counts.
  request.environment = variables;
  for (const std::string& variable : session.environment()) {
    request.environment->push_back(variable);
  }
  request.descriptorThree = other.get();
  process_ = session.start(request);
}

void InterfaceProgram::send(const std::string& command) {
  const std::string line = command + "\n";
  if (::send(descriptor_.get(), line.data(), line.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(line.size())) {
    throw std::runtime_error("desktop-interface is gone, and was sent: " + command);
  }
}

std::string InterfaceProgram::expect(const std::string& beginning) {
  std::string passedOver;
  for (;;) {
    const std::string event = nextEvent();
    if (event.empty()) {
      throw std::runtime_error("no event \"" + beginning + "\", but: " + passedOver);
    }
    if (event.compare(0, beginning.size(), beginning) == 0) {
      return event.substr(beginning.size());
    }
    passedOver += event + "; ";
  }
}

std::string InterfaceProgram::nextEvent() {
  while (unread_.find('\n') == std::string::npos) {
    std::array<char, 65536> buffer;
    if (!awaitReadable(descriptor_.get())) {
      return "";
    }
    const ssize_t length = read(descriptor_.get(), buffer.data(), buffer.size());
    if (length <= 0) {
      return "";
    }
    unread_.append(buffer.data(), static_cast<std::size_t>(length));
  }
  const std::size_t end = unread_.find('\n');
  std::string event = unread_.substr(0, end);
  unread_.erase(0, end + 1);
  return event;
}

void InterfaceProgram::clickOn(const std::string& objectName, const std::string& heldKey,
                               int button) {
  std::istringstream place(ask("where " + objectName, "at "));
  int x = 0;
  int y = 0;
  place >> x >> y;
  session_.click(x, y, button, heldKey);
}

}  // namespace quillo

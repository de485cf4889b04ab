#include "tests/fakes/engine/SessionClamd.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <utility>

#include "tests/support/Waiting.h"

namespace quillo {

struct SessionClamd::Session {
  bool open = false;
  int index = 0;
  int last = 0;
  int pings = 0;
  std::string held;
  std::string bytes;
  std::deque<UniqueFd> files;
};

SessionClamd::SessionClamd(const std::string& path, Script script, Manners manners)
    : script_(std::move(script)), manners_(manners), listener_(listenAt(path)) {
  thread_.start([this] { serve(); });
}

SessionClamd::~SessionClamd() {
  stop_.give();
  thread_.join();
}

bool SessionClamd::awaitSession() {
  std::unique_lock hold(begun_);
  return another_.wait_for(hold, longestWait, [this] { return sessions_ > 0; });
}

std::string SessionClamd::answer(int number, const std::string& text) {
  return std::to_string(number) + ": fd[9]: " + text + std::string(1, '\0');
}

std::string SessionClamd::truth(const Question& question) {
  const std::string& content = question.content;
  if (content.rfind("infected", 0) == 0) return answer(question.number, "Fake.Name FOUND");
  if (content.rfind("error", 0) == 0) return answer(question.number, "Can't read file ERROR");
  if (content.rfind("limit", 0) == 0) {
    return answer(question.number, "Heuristics.Limits.Exceeded.MaxScanTime FOUND");
  }
  return answer(question.number, "OK");
}

void SessionClamd::serve() {
  while (stop_.awaitReadable(listener_.get())) {
    UniqueFd visitor(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (visitor && manners_.lastVisit) {
      listener_.reset();
      talk(visitor.get());
      return;
    }
    if (visitor) {
      talks_.start([this, link = visitor.release()] {
        const UniqueFd own(link);
        talk(own.get());
      });
    }
  }
  talks_.join();
}

bool SessionClamd::sendAll(int link, const std::string& bytes) {
  return send(link, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

void SessionClamd::talk(int link) {
  Session session;
  while (stop_.awaitReadable(link)) {
    std::array<char, 4096> bytes;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(16 * sizeof(int))> control = {};
    iovec place = {bytes.data(), bytes.size()};
    msghdr message = {};
    message.msg_iov = &place;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t count = recvmsg(link, &message, MSG_CMSG_CLOEXEC);
    if (count <= 0) {
      return;
    }
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
      int file = -1;
      std::memcpy(&file, CMSG_DATA(part), sizeof file);
      session.files.emplace_back(file);
    }
    session.bytes.append(bytes.data(), static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = session.bytes.find('\0')) != std::string::npos;) {
      const std::string command = session.bytes.substr(0, end);
      session.bytes.erase(0, end + 1);
      if (!obey(link, command, session)) {
        return;
      }
    }
  }
}

bool SessionClamd::obey(int link, const std::string& command, Session& session) {
  if (command.empty()) {
    return true;  // the byte that bore a descriptor
  }
  if (command == "zIDSESSION") {
    session.open = true;
    const std::lock_guard hold(begun_);
    session.index = ++sessions_;
    another_.notify_all();
    return true;
  }
  if (command == "zPING") {
    if (!session.open) {
      return !manners_.alive || sendAll(link, std::string("PONG\0", 5));
    }
    ++pings_;
    if (manners_.drips) {
      return sendAll(link, "1");
    }
    const int number = ++session.last;
    std::string answer = std::to_string(number) + ": PONG" + std::string(1, '\0');
    if (++session.pings == manners_.pongsBeforeAnswers) {
      answer += session.held;
    }
    return !manners_.pongs || sendAll(link, answer);
  }
  if (command != "zFILDES" || session.files.empty()) {
    return false;
  }
  Question question;
  question.session = session.index;
  question.number = ++session.last;
  std::array<char, 64> content;
  const ssize_t length = pread(session.files.front().get(), content.data(), content.size(), 0);
  question.content.assign(content.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  session.files.pop_front();
  const std::lock_guard hold(scripted_);
  const std::optional<std::string> answer = script_(question);
  if (answer && session.pings < manners_.pongsBeforeAnswers) {
    session.held += *answer;
    return true;
  }
  return answer && (answer->empty() || sendAll(link, *answer));
}

}  // namespace quillo

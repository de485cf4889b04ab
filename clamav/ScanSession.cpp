#include "clamav/ScanSession.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <utility>

#include "clamav/ClamConf.h"

namespace quillo {
namespace {

// The client's words for a file whose answer never came.
constexpr const char* noReply = "no reply from clamd";
constexpr const char* nonsense = "the daemon's answers do not fit its questions";

std::size_t count(const ClamConf& daemon, std::string_view option, std::uint64_t fallback) {
  constexpr std::uint64_t beyondReason = 100000;
  return static_cast<std::size_t>(
      std::clamp<std::uint64_t>(daemon.size(option).value_or(fallback), 1, beyondReason));
}

constexpr std::string_view colon = ": ";
constexpr std::string_view foundEnd = " FOUND";
constexpr std::string_view errorEnd = " ERROR";

}  // namespace

std::optional<SessionAnswer> SessionAnswer::parse(std::string_view answer) {
  SessionAnswer result;
  const char* const end = answer.data() + answer.size();
  const auto [behind, error] = std::from_chars(answer.data(), end, result.number);
  std::string_view rest(behind, static_cast<std::size_t>(end - behind));
  if (error != std::errc() || !rest.starts_with(colon)) {
    return std::nullopt;
  }
  rest.remove_prefix(colon.size());
  if (rest == "PONG") {
    result.kind = Kind::pong;
    return result;
  }
  if (rest.ends_with(errorEnd)) {
    // Some of them name no descriptor.
    const std::size_t start = rest.starts_with("fd[") ? rest.find(colon) : std::string_view::npos;
    result.text = rest.substr(start == std::string_view::npos ? 0 : start + colon.size());
    result.text.remove_suffix(errorEnd.size());
    return result;
  }
  const std::size_t start = rest.find(colon);
  if (!rest.starts_with("fd[") || start == std::string_view::npos) {
    return std::nullopt;
  }
  rest.remove_prefix(start + colon.size());
  if (rest == "OK") {
    result.kind = Kind::clean;
    return result;
  }
  if (!rest.ends_with(foundEnd) || rest.size() == foundEnd.size()) {
    return std::nullopt;
  }
  result.kind = Kind::infected;
  result.text = rest.substr(0, rest.size() - foundEnd.size());
  return result;
}

SessionManners SessionManners::of(const ClamConf& daemon) {
  SessionManners manners;
  manners.threads = count(daemon, "MaxThreads", 10);
  manners.queue = count(daemon, "MaxQueue", 100);
  std::uint64_t shortest = 0;
  for (const std::uint64_t seconds :
       {daemon.size("CommandReadTimeout").value_or(30), daemon.size("ReadTimeout").value_or(120),
        daemon.size("IdleTimeout").value_or(30)}) {
    if (seconds != 0) {
      shortest = shortest == 0 ? seconds : std::min(shortest, seconds);
    }
  }
  constexpr std::uint64_t day = 24ULL * 60 * 60;
  manners.silence = std::chrono::seconds(std::min(shortest, day));
  return manners;
}

ScanSession::ScanSession(UniqueFd connection) : socket_(std::move(connection)) {
  using namespace std::string_view_literals;
  send("zIDSESSION\0"sv, -1);
}

ScanSession::Sent ScanSession::end(const std::string& why) {
  if (ending_.empty()) {
    ending_ = why;
  }
  return Sent::over;
}

ScanSession::Sent ScanSession::send(std::string_view command, int file) {
  if (!ending_.empty()) {
    return Sent::over;
  }
  iovec bytes = {const_cast<char*>(command.data()), command.size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control = {};
  msghdr message = {};
  message.msg_iov = &bytes;
  message.msg_iovlen = 1;
  if (file >= 0) {
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &file, sizeof(int));
  }
  for (;;) {
    const ssize_t sent = sendmsg(socket_.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent == static_cast<ssize_t>(command.size())) {
      return Sent::yes;
    }
    // The kernel bounds the descriptors that are on their way (unix(7), ETOOMANYREFS).
    if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == ETOOMANYREFS)) {
      return Sent::notNow;
    }
    if (sent >= 0 || errno != EINTR) {
      return end(noReply);
    }
  }
}

ScanSession::Sent ScanSession::scan(int file, std::uint64_t& number) {
  using namespace std::string_view_literals;
  // One byte behind the command bears the descriptor.
  const Sent sent = send("zFILDES\0\0"sv, file);
  if (sent == Sent::yes) {
    number = ++last_;
    questions_.emplace(number, true);
  }
  return sent;
}

ScanSession::Sent ScanSession::ping() {
  using namespace std::string_view_literals;
  const Sent sent = send("zPING\0"sv, -1);
  if (sent == Sent::yes) {
    questions_.emplace(++last_, false);
  }
  return sent;
}

bool ScanSession::receive(const Handler& handler) {
  std::array<char, 16384> piece;
  for (;;) {
    const ssize_t count = recv(socket_.get(), piece.data(), piece.size(), MSG_DONTWAIT);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      return ending_.empty();
    }
    if (count <= 0) {
      end(noReply);
      return false;
    }
    bytes_.append(piece.data(), static_cast<std::size_t>(count));
    if (!take(handler)) {
      return false;
    }
    if (count < static_cast<ssize_t>(piece.size())) {
      return ending_.empty();
    }
  }
}

bool ScanSession::take(const Handler& handler) {
  std::size_t start = 0;
  for (std::size_t stop = 0; (stop = bytes_.find('\0', start)) != std::string::npos;
       start = stop + 1) {
    if (!understand(std::string_view(bytes_).substr(start, stop - start), handler)) {
      return false;
    }
  }
  bytes_.erase(0, start);
  return bytes_.size() <= longestAnswer || end(nonsense) == Sent::yes;
}

bool ScanSession::understand(std::string_view text, const Handler& handler) {
  const std::optional<SessionAnswer> answer = SessionAnswer::parse(text);
  const auto question = answer ? questions_.find(answer->number) : questions_.end();
  if (question == questions_.end()) {
    // Numbers that were never given or are used up, or no answer at all.
    const bool timedOut = text.ends_with("COMMAND READ TIMED OUT");
    return end(timedOut ? noReply : nonsense) == Sent::yes;
  }
  const bool aboutFile = question->second;
  if (aboutFile == (answer->kind == SessionAnswer::Kind::pong)) {
    return end(nonsense) == Sent::yes;
  }
  questions_.erase(question);
  ++answers_;
  if (aboutFile) {
    handler(*answer);
  }
  return true;
}

}  // namespace quillo

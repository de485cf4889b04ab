#include "clamav/VerdictChannel.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr char hello = 'H';
constexpr char verdictRecord = 'V';
constexpr char outcomeRecord = 'O';
constexpr char progressRecord = 'P';
// Far beyond any line; more is no record of ours.
constexpr std::uint32_t longestRecord = 1U << 24U;
// Added to the number of a move that the reader forbids.
constexpr std::uint32_t refusal = 1U << 31U;

void appendNumber(std::string& bytes, std::uint32_t number) {
  std::array<char, sizeof number> raw;
  std::memcpy(raw.data(), &number, sizeof number);
  bytes.append(raw.data(), raw.size());
}

void appendField(std::string& bytes, std::string_view field) {
  appendNumber(bytes, static_cast<std::uint32_t>(field.size()));
  bytes += field;
}

std::optional<std::uint32_t> takeNumber(std::string_view& bytes) {
  std::uint32_t number = 0;
  if (bytes.size() < sizeof number) {
    return std::nullopt;
  }
  std::memcpy(&number, bytes.data(), sizeof number);
  bytes.remove_prefix(sizeof number);
  return number;
}

std::string takeField(std::string_view& bytes) {
  const std::optional<std::uint32_t> length = takeNumber(bytes);
  if (!length || *length > bytes.size()) {
    bytes = {};
    return {};
  }
  std::string field(bytes.substr(0, *length));
  bytes.remove_prefix(*length);
  return field;
}

// Whether `read` is the line that was written, or its end with the verdict: what is longer than a
// pipe takes at once (pipe(7), PIPE_BUF) may have been read in pieces.
bool stands(const std::string& written, std::string_view read) {
  if (written == read) {
    return true;
  }
  const std::size_t verdict = written.rfind(": ");
  return written.size() >= PIPE_BUF && verdict != std::string::npos &&
         read.size() >= written.size() - verdict && written.ends_with(read);
}

Verdict::Kind kindOf(const std::string& field) {
  const int number = field.empty() ? -1 : field.front();
  return number >= 0 && number <= static_cast<int>(Verdict::Kind::message)
             ? static_cast<Verdict::Kind>(number)
             : Verdict::Kind::message;
}

Verdict::Whereabouts whereaboutsOf(const std::string& field) {
  const int number = field.empty() ? -1 : field.front();
  return number >= 0 && number <= static_cast<int>(Verdict::Whereabouts::notMoved)
             ? static_cast<Verdict::Whereabouts>(number)
             : Verdict::Whereabouts::unsaid;
}

Verdict::Limit limitOf(const std::string& field) {
  const int number = field.empty() ? -1 : field.front();
  return number >= 0 && number <= static_cast<int>(Verdict::Limit::contents)
             ? static_cast<Verdict::Limit>(number)
             : Verdict::Limit::none;
}

Verdict::DaemonGone daemonGoneOf(const std::string& field) {
  const int number = field.empty() ? -1 : field.front();
  return number >= 0 && number <= static_cast<int>(Verdict::DaemonGone::meanwhile)
             ? static_cast<Verdict::DaemonGone>(number)
             : Verdict::DaemonGone::no;
}

ScanProgress progressIn(std::string_view body) {
  ScanProgress progress;
  for (std::uint64_t* number :
       {&progress.clean, &progress.found, &progress.notScanned, &progress.bytes}) {
    *number = numberIn<std::uint64_t>(takeField(body)).value_or(0);
  }
  progress.path = takeField(body);
  progress.holds = !takeField(body).empty();
  progress.cleanBytes = numberIn<std::uint64_t>(takeField(body)).value_or(0);
  return progress;
}

}  // namespace

VerdictSender::VerdictSender(UniqueFd socket) : socket_(std::move(socket)) {
  fcntl(socket_.get(), F_SETFD, FD_CLOEXEC);
  send(hello, {}, false);
}

std::optional<VerdictSender> VerdictSender::fromEnvironment() {
  const char* const text = std::getenv(verdictChannelVariable);
  const auto number = text ? numberIn<int>(text) : std::nullopt;
  struct stat status = {};
  if (!number || *number < 3 || fstat(*number, &status) != 0 || !S_ISSOCK(status.st_mode)) {
    return std::nullopt;
  }
  VerdictSender sender((UniqueFd(*number)));
  sender.wantsProgress_ = std::getenv(scanProgressVariable) != nullptr;
  return sender;
}

void VerdictSender::send(char type, const Verdict& verdict, bool moves) {
  std::string body(1, type);
  body += static_cast<char>(moves);
  appendField(body, std::string(1, static_cast<char>(verdict.kind)));
  appendField(body, std::string(1, static_cast<char>(verdict.whereabouts)));
  for (const std::string* field : {&verdict.line, &verdict.path, &verdict.threat, &verdict.reason,
                                   &verdict.destination, &verdict.target}) {
    appendField(body, *field);
  }
  appendField(body, std::string(1, static_cast<char>(verdict.limit)));
  appendField(body, std::to_string(verdict.largestFile));
  appendField(body, std::string(1, static_cast<char>(verdict.daemonGone)));
  sendRecord(body);
}

void VerdictSender::reportProgress(const ScanProgress& progress) {
  std::string body{progressRecord, '\0'};
  for (const std::uint64_t number :
       {progress.clean, progress.found, progress.notScanned, progress.bytes}) {
    appendField(body, std::to_string(number));
  }
  appendField(body, progress.path);
  appendField(body, progress.holds ? "1" : "");
  appendField(body, std::to_string(progress.cleanBytes));
  sendRecord(body);
}

void VerdictSender::sendRecord(const std::string& body) {
  std::string record;
  appendNumber(record, static_cast<std::uint32_t>(body.size()));
  record += body;
  std::string_view rest = record;
  while (socket_ && !rest.empty()) {
    const ssize_t count = ::send(socket_.get(), rest.data(), rest.size(), MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR) {
      socket_.reset();  // the reader is gone; the report goes on without it
    } else if (count > 0) {
      rest.remove_prefix(static_cast<std::size_t>(count));
    }
  }
}

void VerdictSender::report(const Verdict& verdict) { send(verdictRecord, verdict, false); }

void VerdictSender::announceMove(const Verdict& verdict) {
  send(verdictRecord, verdict, true);
  ++announced_;
}

bool VerdictSender::mayMove(std::chrono::milliseconds wait) {
  refused_ = false;
  const auto deadline = std::chrono::steady_clock::now() + wait;
  while (socket_) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd watched = {socket_.get(), POLLIN, 0};
    const int ready = left.count() > 0 ? poll(&watched, 1, static_cast<int>(left.count())) : 0;
    if (ready == 0) {
      return false;
    }
    std::array<char, 64> piece;
    const ssize_t count =
        ready < 0 ? -1 : recv(socket_.get(), piece.data(), piece.size(), MSG_DONTWAIT);
    if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) {
      return false;
    }
    answers_.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    // Those of earlier lines came too late, and mean nothing any more.
    std::string_view rest = answers_;
    std::optional<std::uint32_t> answer;
    const auto isAnswered = [&] {
      return answer == announced_ || answer == (announced_ | refusal);
    };
    while (rest.size() >= sizeof(std::uint32_t) && !isAnswered()) {
      answer = takeNumber(rest);
    }
    answers_.erase(0, answers_.size() - rest.size());
    if (isAnswered()) {
      refused_ = answer != announced_;
      return !refused_;
    }
  }
  return false;
}

void VerdictSender::reportOutcome(const Verdict& verdict) { send(outcomeRecord, verdict, false); }

std::optional<VerdictReceiver> VerdictReceiver::make(std::chrono::milliseconds moveWait) {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    return std::nullopt;
  }
  return VerdictReceiver(UniqueFd(ends[0]), UniqueFd(ends[1]), moveWait);
}

VerdictReceiver::VerdictReceiver(UniqueFd own, UniqueFd scanners,
                                 std::chrono::milliseconds moveWait)
    : own_(std::move(own)), scanners_(std::move(scanners)), moveWait_(moveWait) {}

bool VerdictReceiver::canBeRead(std::chrono::steady_clock::time_point deadline) const {
  for (;;) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd watched = {own_.get(), POLLIN, 0};
    const int ready = poll(&watched, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (ready >= 0 || errno != EINTR) {
      return ready > 0;
    }
  }
}

void VerdictReceiver::receive(std::chrono::milliseconds wait) {
  const auto deadline = std::chrono::steady_clock::now() + wait;
  const std::size_t before = records_.size();
  std::array<char, 65536> piece;
  while (!ended_) {
    const bool mustWait = wait.count() > 0 && records_.size() == before;
    if (mustWait && !canBeRead(deadline)) {
      return;
    }
    const ssize_t count = recv(own_.get(), piece.data(), piece.size(), MSG_DONTWAIT);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      if (mustWait) {
        continue;
      }
      return;
    }
    if (count <= 0) {
      ended_ = true;
      return;
    }
    bytes_.append(piece.data(), static_cast<std::size_t>(count));
    takeRecords();
  }
}

void VerdictReceiver::takeRecords() {
  std::string_view rest = bytes_;
  for (;;) {
    std::string_view ahead = rest;
    const std::optional<std::uint32_t> length = takeNumber(ahead);
    if (length && (*length < 2 || *length > longestRecord)) {
      ended_ = true;  // no record of ours: nothing behind it can be understood
      rest = {};
      break;
    }
    if (!length || ahead.size() < *length) {
      break;
    }
    takeRecord(ahead.substr(0, *length));
    rest = ahead.substr(*length);
  }
  bytes_.erase(0, bytes_.size() - rest.size());
}

void VerdictReceiver::takeRecord(std::string_view body) {
  Record record;
  record.type = body[0];
  const bool moves = body[1] != 0;
  body.remove_prefix(2);
  if (record.type == progressRecord && onProgress_) {
    onProgress_(progressIn(body));
  }
  if (record.type != verdictRecord && record.type != outcomeRecord) {
    return;
  }
  record.move = moves ? ++moves_ : 0;
  record.verdict.kind = kindOf(takeField(body));
  record.verdict.whereabouts = whereaboutsOf(takeField(body));
  for (std::string* field :
       {&record.verdict.line, &record.verdict.path, &record.verdict.threat, &record.verdict.reason,
        &record.verdict.destination, &record.verdict.target}) {
    *field = takeField(body);
  }
  record.verdict.limit = limitOf(takeField(body));
  record.verdict.largestFile = numberIn<std::uint64_t>(takeField(body)).value_or(0);
  record.verdict.daemonGone = daemonGoneOf(takeField(body));
  spoken_ = true;
  records_.push_back(std::move(record));
}

bool VerdictReceiver::drain() {
  receive({});
  return !ended_;
}

void VerdictReceiver::chunkRead() {
  readsChunks_ = true;
  receive({});
}

std::optional<VerdictReceiver::Record> VerdictReceiver::takeRecordOf(std::string_view line) {
  const auto found = std::find_if(records_.begin(), records_.end(), [line](const Record& record) {
    return record.type == verdictRecord && stands(record.verdict.line, line);
  });
  if (found == records_.end()) {
    return std::nullopt;
  }
  Record record = std::move(*found);
  records_.erase(records_.begin(), found + 1);
  return record;
}

Verdict VerdictReceiver::understand(std::string_view line,
                                    const std::function<bool(const Verdict& infection)>& mayMove) {
  if (!readsChunks_) {
    receive({});
  }
  std::optional<Record> record = takeRecordOf(line);
  if (!record) {
    Verdict verdict = Verdict::parse(line);
    if (spoken_ && verdict.kind == Verdict::Kind::infected) {
      // The scanner does not know that the line came, and so has left the file where it is.
      verdict.whereabouts = Verdict::Whereabouts::notMoved;
      verdict.reason = "its line was not read whole";
    }
    return verdict;
  }
  if (record->move != 0) {
    awaitOutcome(*record, !mayMove || mayMove(record->verdict));
  }
  record->verdict.line = line;
  return std::move(record->verdict);
}

void VerdictReceiver::awaitOutcome(Record& record, bool mayMove) {
  Verdict& verdict = record.verdict;
  std::string answer;
  appendNumber(answer, mayMove ? record.move : record.move | refusal);
  if (::send(own_.get(), answer.data(), answer.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(answer.size())) {
    ended_ = true;
  }
  receive(records_.empty() ? moveWait_ : std::chrono::milliseconds());
  if (!records_.empty() && records_.front().type == outcomeRecord) {
    const Verdict& outcome = records_.front().verdict;
    verdict.whereabouts = outcome.whereabouts;
    verdict.reason = outcome.reason;
    verdict.destination = outcome.destination;
    records_.pop_front();
  } else if (records_.empty() && !ended_) {
    verdict.whereabouts = Verdict::Whereabouts::unsaid;
    verdict.reason = "the scanner has not said what became of it";
  } else {
    // It ended over the move, before it or behind it. What cannot be looked at has not gone.
    struct stat status = {};
    const bool gone =
        lstat(verdict.file().c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
    verdict.whereabouts = gone ? Verdict::Whereabouts::moved : Verdict::Whereabouts::notMoved;
    verdict.reason = gone ? "" : "the scanner ended before it was moved";
  }
}

}  // namespace quillo

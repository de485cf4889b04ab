#include "tools/clamdscan/Client.h"

#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>

#include "posix/UniqueFd.h"
#include "tools/clamdscan/Paths.h"

namespace quillo::front {
namespace {

bool somebodyListensOn(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof(address.sun_path)) {
    return false;
  }
  std::copy(path.begin(), path.end(), address.sun_path);
  const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 ||
         errno == EAGAIN;
}

}  // namespace

Client::Client(const EngineTree& tree, const CommandLine& asked, Report& report, Clock& clock,
               Clock::Duration patience)
    : tree_(tree), asked_(asked), report_(report), patience_(patience), runner_(clock, patience) {}

std::vector<std::string> Client::commonWords() const {
  std::vector<std::string> words;
  if (!asked_.ownConfiguration) {
    words.push_back("--config-file=" + tree_.configuration);
  }
  if (!asked_.streams) {
    words.emplace_back("--fdpass");
  }
  words.insert(words.end(), asked_.handedOn.begin(), asked_.handedOn.end());
  return words;
}

std::string Client::run(const Task& task) {
  if (!unusable_.empty()) {
    return unusable_;
  }
  ClientRequest request;
  request.program = tree_.realClient;
  request.arguments = commonWords();
  request.arguments.insert(request.arguments.end(), {"--stdout", "--no-summary"});
  request.arguments.insert(request.arguments.end(), task.words.begin(), task.words.end());
  request.standardInput = task.standardInput;
  request.descriptorThree = task.descriptorThree;

  daemonLost_ = false;
  // Whatever was said before must not wait for the client.
  report_.flush();
  end_ = runner_.run(request, {[&](std::string_view text) {
                                 const ClientLine line = ClientLine::parse(text, task.isKnown);
                                 daemonLost_ =
                                     daemonLost_ || line.kind == ClientLine::Kind::noReply;
                                 line.path.empty() ? handle(line) : task.verdict(line);
                               },
                               [this] { report_.flush(); }});
  explain(end_);
  if (daemonLost_ && !announced_ && !somebodyListensOn(tree_.daemonSocket)) {
    announceLostDaemon();
  }
  return daemonLost_ ? "the daemon cannot be reached" : unusable_;
}

void Client::handle(const ClientLine& line) {
  if (line.kind == ClientLine::Kind::noDaemon) {
    loseDaemon(line.text);
  } else if (!line.text.empty()) {
    report_.remark(line.text);
  }
}

// The client says it again for every path; once is enough, but that nobody can be reached is said
// even where something else was said before.
void Client::loseDaemon(std::string_view line) {
  daemonLost_ = true;
  const bool cannotConnect = line.find("Could not connect") != std::string_view::npos;
  if (!complained_ || (cannotConnect && !announced_)) {
    report_.error(line);
  }
  complained_ = true;
  announced_ = announced_ || cannotConnect;
}

// In the client's words, which readers of the report act upon: it says them only when it has
// another path to ask about.
void Client::announceLostDaemon() {
  announced_ = true;
  report_.error("ERROR: Could not connect to clamd on LocalSocket " + tree_.daemonSocket +
                ": nobody listens there any more");
}

void Client::explain(const ClientEnd& end) {
  const std::string name = "ERROR: " + tree_.realClient;
  switch (end.how) {
    case ClientEnd::How::exited:
      return;
    case ClientEnd::How::notStarted:
      unusable_ = "the scanner cannot be run";
      report_.error(name + " cannot be run: " + reasonText(end.code));
      return;
    case ClientEnd::How::signalled:
      unusable_ = "the scanner was ended";
      endingSignal_ = end.code;
      report_.error(name + " was ended by signal " + std::to_string(end.code) + " (" +
                    strsignal(end.code) + ")");
      return;
    case ClientEnd::How::stalled:
      unusable_ = "the scanner made no progress";
      report_.error(
          name + " was ended: it made no progress for " +
          std::to_string(std::chrono::duration_cast<std::chrono::seconds>(patience_).count()) +
          " seconds");
      return;
  }
}

}  // namespace quillo::front

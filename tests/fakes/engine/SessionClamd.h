#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "posix/UniqueFd.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Threads.h"

namespace quillo {

// A daemon that takes descriptors in sessions (clamd(8), IDSESSION) on a real socket, and answers
// what its script says: the truth, or lies.
class SessionClamd {
 public:
  struct Question {
    int session = 0;  // from 1
    int number = 0;   // within it, PINGs counted
    std::string content;
  };
  // All bytes to be sent, or nothing to close the connection. Called by one thread for each
  // session, but never by two at once.
  using Script = std::function<std::optional<std::string>(const Question& question)>;
  struct Manners {
    bool pongs = true;           // whether PINGs in sessions are answered
    bool alive = true;           // whether those of newcomers are
    int pongsBeforeAnswers = 0;  // what the script says is held back for so many
    bool drips = false;          // a PING in a session gets one byte, which ends no answer
    bool lastVisit = false;      // nobody listens any more once the first session is over
  };

  SessionClamd(const std::string& path, Script script, Manners manners);
  SessionClamd(const std::string& path, Script script)
      : SessionClamd(path, std::move(script), Manners()) {}
  ~SessionClamd();
  SessionClamd(const SessionClamd&) = delete;
  SessionClamd& operator=(const SessionClamd&) = delete;

  int sessions() const { return sessions_; }
  // Blocks until a session has begun; false when none does in time.
  bool awaitSession();
  int pings() const { return pings_; }  // within sessions
  // "infected..." is infected, "limit..." beyond a limit, "error..." an error, else clean.
  static std::string truth(const Question& question);
  static std::string answer(int number, const std::string& text);

 private:
  struct Session;
  void serve();
  void talk(int link);
  bool obey(int link, const std::string& command, Session& session);
  bool sendAll(int link, const std::string& bytes);

  const Script script_;
  const Manners manners_;
  UniqueFd listener_;
  StopSignal stop_;
  std::mutex begun_;
  std::condition_variable another_;
  std::atomic<int> sessions_ = 0;
  std::atomic<int> pings_ = 0;
  std::mutex scripted_;
  JoinedThreads talks_;  // the serving thread's
  JoinedThreads thread_;
};

}  // namespace quillo

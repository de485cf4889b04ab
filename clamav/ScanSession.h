#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "posix/UniqueFd.h"

namespace quillo {

// One answer of a daemon within a session (clamd(8), IDSESSION): "NUMBER: fd[N]: OK" to a
// descriptor, "NUMBER: PONG" to a PING (wording as measured with 1.4).
struct SessionAnswer {
  enum class Kind {
    clean,
    infected,  // `text` is the threat's name
    failed,    // `text` says why, in the daemon's words
    pong
  };

  std::uint64_t number = 0;  // of the command that it answers, from 1
  Kind kind = Kind::failed;
  std::string_view text;

  // Reads `answer`, without its delimiter. Returns nothing for what is no answer of a session: no
  // word is to be believed of a daemon that says such things. Pure.
  static std::optional<SessionAnswer> parse(std::string_view answer);
};

class ClamConf;

// What a daemon's configuration says about how its sessions are to be used (clamd.conf(5)).
struct SessionManners {
  std::size_t threads = 10;  // files that it scans at once
  std::size_t queue = 100;   // files that it takes, those that it scans among them
  // How long a session may be silent before its verdicts are lost; 0 for ever.
  std::chrono::milliseconds silence{30000};

  // Reads the daemon's configuration, with the defaults for absent keys. Pure.
  static SessionManners of(const ClamConf& daemon);
};

// One session with a daemon (clamd(8), IDSESSION), in which it scans descriptors that it is sent.
// It answers in any order. An answer that fits no question ends the session: the numbers may be
// those of other files. Never waits; poll(2) descriptor() instead. One thread.
class ScanSession {
 public:
  // A daemon that says more than this without an end talks nonsense.
  static constexpr std::size_t longestAnswer = 65536;

  enum class Sent { yes, notNow, over };

  // `connection` is a connected, trusted socket.
  explicit ScanSession(UniqueFd connection);

  // Sends a descriptor to be scanned and sets `number` to what its answer will bear. Returns
  // `notNow` when the daemon has to read first.
  Sent scan(int file, std::uint64_t& number);
  // Asks the daemon for a sign of life, which keeps the session too.
  Sent ping();

  // Hands over the answers about files that have come. Returns false when the session is over;
  // answers that came before its end have been handed over.
  using Handler = std::function<void(const SessionAnswer& answer)>;
  bool receive(const Handler& handler);
  // Returns how many answers have come, those to PINGs among them. Bytes that end none do not
  // count.
  std::uint64_t answers() const { return answers_; }
  // Returns why it is over, in words that go behind "Not scanned: ".
  const std::string& ending() const { return ending_; }

  int descriptor() const { return socket_.get(); }

 private:
  Sent send(std::string_view command, int file);
  Sent end(const std::string& why);
  bool take(const Handler& handler);
  bool understand(std::string_view text, const Handler& handler);

  UniqueFd socket_;
  std::uint64_t last_ = 0;
  std::uint64_t answers_ = 0;
  std::map<std::uint64_t, bool> questions_;  // not answered yet; true for a file's
  std::string bytes_;
  std::string ending_;
};

}  // namespace quillo

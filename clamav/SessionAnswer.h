#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

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

  // `answer` without its delimiter. Absent for what is no answer of a session: nothing is to be
  // believed of a daemon that says such things. Pure.
  static std::optional<SessionAnswer> parse(std::string_view answer);
};

}  // namespace quillo

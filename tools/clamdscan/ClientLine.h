#pragma once

#include <functional>
#include <string_view>

namespace quillo::front {

// A line of the real client's report, understood (its format as measured, 1.4).
struct ClientLine {
  enum class Kind {
    clean,
    infected,      // `text` is the threat's name
    inaccessible,  // the client could not reach the path, or it is no file
    failed,        // `text` says why
    noReply,       // the daemon went away over this path
    noDaemon,
    other
  };

  Kind kind = Kind::other;
  std::string_view path;
  std::string_view text;

  // A name may hold anything that a verdict holds, so a verdict is only what follows the longest
  // path that `isKnown` knows. Any thread.
  using Known = std::function<bool(std::string_view path)>;
  static ClientLine parse(std::string_view line, const Known& isKnown);
};

}  // namespace quillo::front

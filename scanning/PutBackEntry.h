#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "posix/FileIdentity.h"

namespace quillo {

// A file and what it holds, so that it is known again in another place.
struct FilePrint {
  FileIdentity identity;
  std::string hash;  // of its contents, SHA-256; "" when it is too large for that

  // Takes it of the regular file itself that bears that name. Returns nothing when there is none,
  // when it cannot be read, or when it changes meanwhile. `Hash::always` is taken of a large file
  // too. Any thread.
  enum class Hash { unlessLarge, always };
  static std::optional<FilePrint> of(const std::string& path, Hash hash = Hash::unlessLarge);
};

// A file that is to be left alone, as PutBackFiles keeps it.
struct PutBackEntry {
  enum class Kind {
    file,
    copy,    // copied when it was moved: the time of its contents is that of the move
    allowed  // whatever is found in it
  };

  Kind kind = Kind::file;
  std::string path;  // where it was found, or is to lie
  std::string threat;
  FilePrint print;

  // Returns it as a line, with its end. Pure; any thread, as below.
  std::string line() const;
  // Returns nothing for anything but such a line, without its end.
  static std::optional<PutBackEntry> parse(std::string_view line);
};

}  // namespace quillo

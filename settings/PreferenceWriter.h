#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "settings/TomlEditor.h"

namespace quillo {

// The user's own file of preferences, as the main application changes it. A file that somebody
// edits meanwhile loses nothing: every change is made in the text as it is at that moment, and made
// anew if that is another one by the time the new file is ready. What is written is a new file in
// the same folder (0600, or the mode of the one before), on the disk before it takes the old one's
// place; until then the old one is there, whole.
//
// A user may keep the file elsewhere, behind a link: the file that it leads to is then replaced,
// and the link stays. But a link that somebody else could have put there is not followed, and a
// file that is not this user's, or not a regular one, is left alone. Main thread.
class PreferenceWriter {
 public:
  enum class Problem {
    none,
    notToml,      // the file does not parse
    notEditable,  // it does, but this change cannot be made without another
    noRoom,
    readOnly,
    forbidden,
    notOwn,  // the file, a link to it or its folder, which `reason` names, is the `owner`'s
    noFile,  // something is there that is no regular file
    tooLarge,
    alwaysOther,   // it changes faster than it can be written
    changedSince,  // undo: it is not the text any more that was written last
    failed
  };

  // What the file says now.
  struct Reading {
    Problem problem = Problem::none;
    std::string reason;  // in the system's or the parser's words
    unsigned int owner = 0;
    PreferenceDictionary values;
    bool exists = false;
    // Of a file that does not parse: where, and that line itself.
    std::size_t line = 0;
    std::size_t column = 0;
    std::string lineText;
  };

  struct Outcome {
    Problem problem = Problem::none;
    std::string reason;
    unsigned int owner = 0;  // by number
    // The file had been changed by somebody else since it was read or written here last.
    bool wasChangedByHand = false;
    // apply(): there was something to change, and undo() takes that back.
    bool isWritten = false;
  };

  struct Repair {
    Outcome outcome;
    std::string setAside;            // where the old file lies now, by its whole path
    std::vector<std::size_t> lines;  // the lines that are comments in the new one
  };

  using Change = std::function<void(TomlEditor&)>;

  // `path` is absolute; neither it nor its folder has to exist.
  explicit PreferenceWriter(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }
  // Returns what the file says now. What is read by read(), and not what look() sees, counts as
  // known: see wasChangedByHand().
  Reading read();
  Reading look() const;
  // Returns true when the file was changed by somebody else since it was read or written here last.
  bool wasChangedByHand() const;
  // Makes a change. `change` may be called more than once, with another text each time; what it
  // throws as PlatformException is `notEditable`. Nothing is written where nothing changes.
  Outcome apply(const Change& change);

  // Puts back what was there before the last change, once; not over what somebody else wrote since.
  bool canUndo() const { return before_.has_value(); }
  Outcome undo();

  // Sets a file that does not parse aside, and writes one in its place in which every line that
  // cannot be read is a comment. A file that does parse is left as it is.
  Repair repair();

 private:
  struct Contents {
    Outcome outcome;
    bool exists = false;
    std::string text;
    std::string place;  // behind all links
  };

  Contents contents() const;
  static Reading readingOf(const Contents& now);
  Outcome replace(const Contents& old, const std::string& text);
  bool isStill(const Contents& old) const;

  const std::string path_;
  // What the file held when it was read or written here last; nothing for no file.
  std::optional<std::string> known_;
  bool isKnown_ = false;
  std::optional<std::string> before_;
};

// Returns the text with every line that cannot be read made a comment, and puts the numbers of
// these lines, from 1, into `lines`; nothing when that would be too much of it. Pure; any thread.
std::optional<std::string> repairedToml(const std::string& text, std::vector<std::size_t>& lines);

}  // namespace quillo

#pragma once

#include <chrono>
#include <string>

#include "posix/UniqueFd.h"

namespace quillo::wrapper {

// The user's Trash, in which the desktop's file manager shows what was thrown away and puts it
// back: files/NAME, and in info/NAME.trashinfo where it was and when it left (The
// FreeDesktop.org Trash, version 1.0). One thread.
class DesktopTrash {
 public:
  using Time = std::chrono::system_clock::time_point;

  // `home` and `dataHome` as in HOME and XDG_DATA_HOME; a `dataHome` that is no absolute path does
  // not count.
  DesktopTrash(const std::string& home, const std::string& dataHome);
  static DesktopTrash ofThisUser();

  // Where `path` is ~/.Trash and nothing is there: makes it a symbolic link to the files of this
  // Trash, and makes those folders. What is there already stays as it is. Failures are silent: the
  // folder is then an ordinary one.
  void linkFrom(const std::string& path) const;
  // Returns the folder for the notes, made if it is missing, when `folder` is the one with the
  // files; no descriptor when it is another, or when there can be no notes.
  UniqueFd notesFor(int folder) const;

  // Bytes of a name whose note's name, ".trashinfo" behind it, folders still take.
  static constexpr std::size_t longestName = 245;
  // Writes a new note for the file that is to become `name`. Returns 0 or an errno, EEXIST when
  // there is one already.
  static int note(int notes, const std::string& name, const std::string& origin, Time left);
  static void forget(int notes, const std::string& name);

 private:
  std::string link_;    // ~/.Trash; "" without a home of this user's
  std::string folder_;  // the Trash; "" if there is none
  std::string target_;  // what the link says
};

}  // namespace quillo::wrapper

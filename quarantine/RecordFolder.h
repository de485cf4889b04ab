#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "posix/UniqueFd.h"
#include "quarantine/QuarantineRecord.h"

namespace quillo {

class Clock;

// The records beside the files of a quarantine folder, one a file, in a hidden folder that no moved
// file may be called like. A record's file bears the hash of the name that it speaks of, so no name
// is too long and none can pass for a record's. What others could have written is not read. One
// thread.
class RecordFolder {
 public:
  static constexpr char name[] = ".vantrel-records";
  static constexpr std::string_view asideEnding = ".aside";
  enum class Missing { made, left };

  // Opens it in an open quarantine folder, and makes it (0700) where it is to be. Returns 0 or an
  // errno: ENOTDIR or ELOOP when something else bears its name, EPERM when others may write to it.
  int open(int quarantine, Missing missing);
  bool isOpen() const { return static_cast<bool>(folder_); }
  int descriptor() const { return folder_.get(); }

  // Writes a new record to disk. Returns 0 or an errno: EEXIST when that name has one.
  int add(const QuarantineRecord& record);
  // Writes one to disk in place of another, at once as a whole. Returns 0 or an errno.
  int replace(const QuarantineRecord& record);
  // Changes the state of one that is about to be moved to `moved`, without waiting for the disk.
  void confirm(const std::string& file);
  void remove(const std::string& file);
  // Keeps what bears the record's name, which may be of another version of this program, beside it
  // until the file has left. Returns 0 or an errno.
  int setAside(const std::string& file);
  // Puts what was set aside in its place again. Returns false when there is nothing.
  bool bringBack(const std::string& file);
  // Likewise by the name of what was set aside, where no record has taken the place.
  void bringBackEntry(const std::string& aside);
  static bool isAside(const std::string& entry) { return entry.ends_with(asideEnding); }

  // Returns the record of a file; nothing, with an errno: ENOENT when there is none, EBADMSG when
  // it is no whole record of that file or somebody else could have written it.
  std::optional<QuarantineRecord> find(const std::string& file) const;

  // Keeps away who tidies up, until this object goes or lets go. Waits for one who does; returns
  // false when that takes longer than several seconds or no locks can be had.
  bool holdOffTidying(Clock& clock);
  // Returns true when nobody else moves or restores anything just now; until letGo() nobody begins.
  bool startTidying();
  void letGo();
  // Returns the names of all that lies there.
  std::vector<std::string> entries() const;
  // Returns the name that the record's file of such a file has.
  static std::string entryFor(const std::string& file) { return sha256Of(file); }
  // Likewise find(), by the name of the record's file.
  std::optional<QuarantineRecord> at(const std::string& entry) const;

 private:
  std::optional<QuarantineRecord> read(const std::string& entry) const;
  // Returns the name of a new file with the record's text on disk; "" with an errno.
  std::string written(const QuarantineRecord& record) const;

  UniqueFd folder_;
};

}  // namespace quillo

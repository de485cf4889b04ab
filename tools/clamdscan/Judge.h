#pragma once

#include <string>
#include <string_view>

#include "clamav/ScanLimits.h"
#include "tools/clamdscan/ClientLine.h"
#include "tools/clamdscan/Entry.h"
#include "tools/clamdscan/MoveFolder.h"
#include "tools/clamdscan/Report.h"

namespace quillo::front {

// Whether this is no threat's name, but says that a limit kept the daemon from looking at all of
// it.
bool isLimitAlert(std::string_view threat);

// Turns the real client's verdicts into the report's, after a second look at each: what is called
// clean was really scanned, and what is said of an infected file's whereabouts is true. One thread.
class Judge {
 public:
  Judge(Report& report, MoveFolder& moveFolder, const ScanLimits& limits)
      : report_(report), moveFolder_(moveFolder), limits_(limits) {}

  void pass(const Entry& entry, const ClientLine& line);
  // Whether the engine calls a file of this size clean without a look.
  bool isTooLarge(const struct stat& status) const;
  std::string tooLargeText() const;

 private:
  void clean(const Entry& entry);
  void infected(const Entry& entry, std::string_view threat);
  void beyondLimit(const Entry& entry, std::string_view limit);
  void moveAway(const Entry& entry);
  std::string whyFailed(const Entry& entry, const ClientLine& line) const;

  Report& report_;
  MoveFolder& moveFolder_;
  const ScanLimits limits_;
  // The file moved last, under the name it had and the name it has: it may be reported again, for
  // one more threat or under another name.
  std::string movedFrom_;
  std::string movedTo_;
  std::string movedShown_;
};

}  // namespace quillo::front

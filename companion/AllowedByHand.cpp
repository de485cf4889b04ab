#include "companion/AllowedByHand.h"

#include "clamav/Verdict.h"
#include "platform/LocalizedStrings.h"
#include "scanning/PutBackFiles.h"

namespace quillo {

bool AllowedByHand::isAllowed(const Verdict& infection) { return files_.isPutBack(infection); }

std::string AllowedByHand::allow(const Verdict& infection) {
  return files_.allow(infection.path)
             ? ""
             : Wording{"WINDOW_NOT_ALLOWED", {reportedText(infection.path)}}.in(strings_);
}

}  // namespace quillo

#include "companion/scan/AllowedByHand.h"

#include "clamav/Verdict.h"
#include "platform/LocalizedStrings.h"
#include "scanning/PutBackFiles.h"

namespace quillo {

bool AllowedByHand::isAllowed(const Verdict& infection) { return files_.isPutBack(infection); }

std::string AllowedByHand::allow(const Verdict& infection) { return allowPath(infection.path); }

std::string AllowedByHand::allowPath(const std::string& path) {
  return files_.allow(path) ? "" : Wording{"WINDOW_NOT_ALLOWED", {reportedText(path)}}.in(strings_);
}

}  // namespace quillo

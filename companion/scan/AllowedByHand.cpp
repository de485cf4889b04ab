#include "companion/scan/AllowedByHand.h"

#include "clamav/Verdict.h"
#include "platform/LocalizedStrings.h"
#include "scanning/PutBackFiles.h"

namespace quillo {

bool AllowedByHand::isAllowed(const Verdict& infection) { return files_.isPutBack(infection); }

std::string AllowedByHand::allow(const Verdict& infection,
                                 const std::optional<FileIdentity>& found) {
  return allowFile(infection.file(), found);
}

std::string AllowedByHand::allowFile(const std::string& path,
                                     const std::optional<FileIdentity>& shown) {
  if (shown && files_.allow(path, *shown)) {
    return "";
  }
  const auto now = FileIdentity::at(path);
  const bool isAnother = now && now != shown;
  return Wording{isAnother ? "WINDOW_NOT_ALLOWED_CHANGED" : "WINDOW_NOT_ALLOWED",
                 {reportedText(path)}}
      .in(strings_);
}

}  // namespace quillo

#pragma once

#include <optional>
#include <string>

#include "companion/scan/FindActions.h"

namespace quillo {

class LocalizedStrings;
class PutBackFiles;

// What the user allows by hand, kept where the agent looks for what he put back. Main thread.
class AllowedByHand final : public AllowedFinds {
 public:
  AllowedByHand(PutBackFiles& files, LocalizedStrings& strings)
      : files_(files), strings_(strings) {}

  bool isAllowed(const Verdict& infection) override;
  std::string allow(const Verdict& infection, const std::optional<FileIdentity>& found) override;
  // Likewise whatever is found in the file of that path, which is `shown`.
  std::string allowFile(const std::string& path, const std::optional<FileIdentity>& shown);

 private:
  PutBackFiles& files_;
  LocalizedStrings& strings_;
};

}  // namespace quillo

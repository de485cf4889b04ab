#pragma once

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
  std::string allow(const Verdict& infection) override;
  // Likewise whatever is found in the file of that path.
  std::string allowPath(const std::string& path);

 private:
  PutBackFiles& files_;
  LocalizedStrings& strings_;
};

}  // namespace quillo

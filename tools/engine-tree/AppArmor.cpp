#include "tools/engine-tree/AppArmor.h"

#include <unistd.h>

#include "clamav/EngineProfiles.h"
#include "posix/Text.h"

namespace quillo {
namespace {

ProfilePlaces profilesOf(const MachinePlaces& places) {
  return {places.appArmorSwitch, places.appArmorProfiles};
}

bool confines(const MachinePlaces& places, const std::string& profile) {
  return keepsOutOfTrees(profilesOf(places), profile);
}

std::string hint(const MachinePlaces& places, const std::string& program,
                 const std::string& profile, const std::string& toolFolder) {
  return "AppArmor keeps " + program + " out of this tree; let it in with: " +
         commandToOpen(profilesOf(places), profile, toolFolder + "/apparmor");
}

// The packaged profile of clamd lets it read home folders.
bool liesInAHome(const std::string& path) {
  return liesBelow(path, "/home") || liesBelow(path, "/root");
}

}  // namespace

std::vector<std::string> confinementHints(const TreePlan& plan, const MachinePlaces& places,
                                          const std::string& toolFolder) {
  std::vector<std::string> hints;
  const bool updates = access(plan.definitions.c_str(), W_OK) == 0;
  if (updates && confines(places, updaterProfile)) {
    hints.push_back(hint(places, "freshclam", updaterProfile, toolFolder));
  }
  if (!plan.usesMachineDaemon() && !liesInAHome(plan.root) && confines(places, daemonProfile)) {
    hints.push_back(hint(places, "clamd", daemonProfile, toolFolder));
  }
  return hints;
}

bool isDaemonConfined(const MachinePlaces& places) {
  return isProfileInForce(profilesOf(places), daemonProfile);
}

}  // namespace quillo

#include "tools/engine-tree/AppArmor.h"

#include <unistd.h>

#include "posix/FileFacts.h"
#include "posix/Text.h"

namespace quillo {
namespace {

std::string contentOf(const std::string& path) { return contentsOfFile(path).value_or(""); }

bool isInForce(const MachinePlaces& places, const std::string& profile) {
  const std::string& folder = places.appArmorProfiles;
  return contentOf(places.appArmorSwitch).starts_with('Y') && fileExists(folder + "/" + profile) &&
         !fileExists(folder + "/disable/" + profile) &&
         !fileExists(folder + "/force-complain/" + profile);
}

bool confines(const MachinePlaces& places, const std::string& profile) {
  return isInForce(places, profile) &&
         contentOf(places.appArmorProfiles + "/local/" + profile).find("vantrel") ==
             std::string::npos;
}

std::string hint(const MachinePlaces& places, const std::string& program,
                 const std::string& profile, const std::string& toolFolder) {
  const std::string folder = places.appArmorProfiles;
  return "AppArmor keeps " + program + " out of this tree; let it in with: sudo sh -c 'cat \"" +
         toolFolder + "/apparmor/" + profile + "\" >> " + folder + "/local/" + profile +
         " && apparmor_parser -r " + folder + "/" + profile + "'";
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
  if (updates && confines(places, "usr.bin.freshclam")) {
    hints.push_back(hint(places, "freshclam", "usr.bin.freshclam", toolFolder));
  }
  if (!plan.usesMachineDaemon() && !liesInAHome(plan.root) && confines(places, "usr.sbin.clamd")) {
    hints.push_back(hint(places, "clamd", "usr.sbin.clamd", toolFolder));
  }
  return hints;
}

bool isDaemonConfined(const MachinePlaces& places) { return isInForce(places, "usr.sbin.clamd"); }

}  // namespace quillo

#include "tools/engine-tree/Confinement.h"

#include <unistd.h>

#include <fstream>
#include <iterator>

namespace quillo {
namespace {

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool isInForce(const MachinePlaces& places, const std::string& profile) {
  const std::string& folder = places.appArmorProfiles;
  return contentOf(places.appArmorSwitch).rfind('Y', 0) == 0 && exists(folder + "/" + profile) &&
         !exists(folder + "/disable/" + profile) && !exists(folder + "/force-complain/" + profile);
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
  return path.rfind("/home/", 0) == 0 || path.rfind("/root/", 0) == 0;
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

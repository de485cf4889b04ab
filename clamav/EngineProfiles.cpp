#include "clamav/EngineProfiles.h"

#include "posix/FileFacts.h"

namespace quillo {
namespace {

std::string contentOf(const std::string& path) { return contentsOfFile(path).value_or(""); }

}  // namespace

bool isProfileInForce(const ProfilePlaces& places, const std::string& profile) {
  const std::string& folder = places.profiles;
  return contentOf(places.onOff).starts_with('Y') && fileExists(folder + "/" + profile) &&
         !fileExists(folder + "/disable/" + profile) &&
         !fileExists(folder + "/force-complain/" + profile);
}

bool keepsOutOfTrees(const ProfilePlaces& places, const std::string& profile) {
  return isProfileInForce(places, profile) &&
         contentOf(places.profiles + "/local/" + profile).find("vantrel") == std::string::npos;
}

std::string commandToOpen(const ProfilePlaces& places, const std::string& profile,
                          const std::string& additions) {
  const std::string& folder = places.profiles;
  return "sudo sh -c 'cat \"" + additions + "/" + profile + "\" >> " + folder + "/local/" +
         profile + " && apparmor_parser -r " + folder + "/" + profile + "'";
}

}  // namespace quillo

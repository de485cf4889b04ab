#pragma once

#include <string>

namespace quillo {

// AppArmor's profiles for the engine's programs, as the distributions package them (apparmor.d(5)).
// Any thread.
struct ProfilePlaces {
  std::string onOff = "/sys/module/apparmor/parameters/enabled";
  std::string profiles = "/etc/apparmor.d";
};

inline constexpr char daemonProfile[] = "usr.sbin.clamd";
inline constexpr char updaterProfile[] = "usr.bin.freshclam";

// Returns true when the profile is enforced.
bool isProfileInForce(const ProfilePlaces& places, const std::string& profile);
// Returns true when it is and no administrator has added the lines that open engine trees to it.
bool keepsOutOfTrees(const ProfilePlaces& places, const std::string& profile);
// Returns the command that adds them; `additions` is the folder that holds those lines, in files of
// the profiles' names.
std::string commandToOpen(const ProfilePlaces& places, const std::string& profile,
                          const std::string& additions);

}  // namespace quillo

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "clamav/EngineProfiles.h"
#include "companion/folders/FolderCare.h"
#include "platform/AgentLink.h"
#include "platform/DesktopCheck.h"
#include "platform/LocalizedStrings.h"

namespace quillo {

class Clock;
class Folders;
class TypedPreferences;

// What the doctor found out about one thing: in one sentence, with what mends it.
struct Finding {
  enum class Sign {
    good,
    warning,  // it works, but not as well as it seems
    problem,  // files are not guarded, or what is said of them is lost
    unknown   // it cannot be told
  };

  std::string check;  // "engine", "folder": docs/json.md lists them
  std::string
      subject;  // the path that it is about, in bytes; "" where the check is about one thing
  Sign sign = Sign::unknown;
  Wording sentence;
  Wording remedy = {};  // empty where there is nothing to do
};

// The services that the checks use. All of them may be used on any thread.
struct DoctorServices {
  Clock& clock;
  Folders& folders;
  LocalizedStrings& strings;
  const TypedPreferences& preferences;
  // What is mounted; nothing where that cannot be read.
  std::function<std::optional<std::vector<Mount>>()> mounts;
  HasFileHandles hasHandles;
  // Each returns why something cannot be used, and what to do about that, in words for people; ""
  // where it can. Left out where nobody can say.
  std::function<std::string()> preferencesProblem = {};
  std::function<std::string()> historyProblem = {};
  std::function<std::string()> quarantineProblem = {};
  ProfilePlaces profiles = {};
  std::string temporaryFolder = "/tmp";
  // Whose program the helper has to be.
  unsigned int helperOwner = 0;
};

// What was asked of agent and desktop before, on the main thread.
struct DoctorFacts {
  std::optional<AgentStatus> agent;
  Wording agentProblem;  // why it cannot be told whether one runs
  DesktopFacts desktop;
};

// Checks everything, in the order in which it matters. May take some seconds: for the daemon's
// answer, for a disk. Any thread but the main one of a window.
std::vector<Finding> examine(const DoctorServices& services, const DoctorFacts& facts);

// The checks one by one. Each returns at least one finding.
std::vector<Finding> examineAgent(const DoctorServices& services, const DoctorFacts& facts);
std::vector<Finding> examineEngine(const DoctorServices& services, const DoctorFacts& facts);
std::vector<Finding> examineDefinitions(const DoctorServices& services, const DoctorFacts& facts);
std::vector<Finding> examineProfiles(const DoctorServices& services, const DoctorFacts& facts);
std::vector<Finding> examineHelper(const DoctorServices& services, const DoctorFacts& facts);
std::vector<Finding> examineFolders(const DoctorServices& services, const DoctorFacts& facts);
std::vector<Finding> examineDesktop(const DoctorServices& services, const DoctorFacts& facts);
std::vector<Finding> examineFiles(const DoctorServices& services, const DoctorFacts& facts);
std::vector<Finding> examineSpace(const DoctorServices& services, const DoctorFacts& facts);

}  // namespace quillo

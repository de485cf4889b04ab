#include "tools/engine-tree/EngineTree.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "clamav/ClamConf.h"
#include "clamav/ControlSocket.h"
#include "clamav/ScratchFolder.h"
#include "posix/PlatformException.h"
#include "posix/Text.h"
#include "tools/engine-tree/SocketFolder.h"
#include "tools/engine-tree/TreeFolder.h"

namespace quillo {
namespace {

constexpr char launchConf[] = "launch.conf";
constexpr char treeLock[] = ".lock";

std::string ownerOf(const std::string& folder) {
  struct stat status = {};
  return stat(folder.c_str(), &status) == 0 ? accountNumbered(status.st_uid).name : std::string();
}

std::string machineDefinitions(const TreePlan& plan, const MachinePlaces& places) {
  return plan.machine.options.value("DatabaseDirectory", places.definitions);
}

// By the daemon's account, which root is not.
bool canUnpackIn(const std::string& folder) {
  struct stat status = {};
  const bool isForAll =
      geteuid() != 0 || (stat(folder.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0);
  return isForAll && ScratchFolder::tryOut(folder) == 0;
}

void chooseSocketFolder(TreePlan& plan, const std::string& remembered, SocketFolderUse use,
                        const MachinePlaces& places) {
  const SocketFolderRequest request{socketPlace(places, plan.machineWide), plan.account,
                                    plan.machineWide, remembered};
  plan.socketFolder =
      use == SocketFolderUse::renew ? renewSocketFolder(request) : keepSocketFolder(request);
  // The folder of a daemon that runs stays what it is.
  if (use == SocketFolderUse::keep && !plan.scratch.empty()) {
    return;
  }
  // The user's runtime folder lies in memory, and is no place for what an archive unpacks to, as
  // long as there is another.
  const bool isTemporary = liesBelow(plan.socketFolder, places.temporary);
  plan.scratch =
      !isTemporary && canUnpackIn(places.temporary) ? places.temporary : plan.socketFolder;
}

TreePlan planTree(const TreeFolder& root, bool machineWide, const MachinePlaces& places,
                  SocketFolderUse use) {
  TreePlan plan;
  plan.root = root.path();
  plan.machineWide = machineWide;
  plan.runsAsRoot = geteuid() == 0;
  plan.programs = installedPrograms(places);
  plan.machine = findMachineDaemon(places);
  plan.account = machineWide ? packagedAccount(plan.machine.account) : accountNumbered(geteuid());
  const TreeFolder etc = root.subfolder("etc");
  plan.daemonAdditions = etc.read("clamd.local").value_or("");
  plan.scratch = ClamConf::parse(etc.read("clamd.conf").value_or("")).value("TemporaryDirectory");
  plan.updaterAdditions = etc.read("freshclam.local").value_or("");
  plan.socketFolder = parseLaunchConf(etc.read(launchConf).value_or("")).socketFolder;
  if (!plan.usesMachineDaemon()) {
    chooseSocketFolder(plan, plan.socketFolder, use, places);
  }
  plan.definitions = machineDefinitions(plan, places);
  if (!plan.usesMachineDaemon() && !definitionsIn(plan.definitions).any()) {
    plan.definitions = root.path() + "/db";
  }
  plan.definitionsOwner =
      plan.definitions == root.path() + "/db" ? plan.account.name : ownerOf(plan.definitions);
  return plan;
}

// Beside real definitions the built-in one would only give the test file a second name.
void settleBuiltInDefinition(const TreeFolder& definitions) {
  if (definitionsIn(definitions.path()).complete()) {
    definitions.remove(builtInDefinitionFile);
  } else {
    definitions.write(builtInDefinitionFile, builtInDefinition(), 0644);
  }
}

void writeConfiguration(const TreeFolder& root, const TreePlan& plan) {
  settleBuiltInDefinition(root.subfolderOf("db", plan.account.user, plan.account.group));
  const TreeFolder etc = root.subfolder("etc");
  etc.write("clamd.conf", clamdConfText(plan), 0644);
  etc.write("freshclam.conf", freshclamConfText(plan), 0644);
  etc.write("front.conf", wrapperConfText(plan), 0644);
  etc.write(launchConf, launchConfText(plan), 0644);
}

std::string programIn(const std::string& folder, const std::string& name) {
  const std::optional<TreeFolder> tools = TreeFolder::open(folder);
  std::optional<std::string> program = tools ? tools->read(name) : std::nullopt;
  if (!program) {
    throw PlatformException(
        PlatformException::Kind::notFound, "TreeFailure",
        "this installation is incomplete: " + folder + "/" + name + " is missing");
  }
  return std::move(*program);
}

}  // namespace

TreePlan makeTree(const TreeRequest& request) {
  const std::string wrapper = programIn(request.toolFolder, "clamdscan");
  const std::string launcher = programIn(request.toolFolder, "engine-launcher");
  installedPrograms(request.places);  // before anything is made
  const TreeFolder root = TreeFolder::openOrMake(request.root);
  const UniqueFd turn = root.lock(treeLock);
  TreePlan plan = planTree(root, request.machineWide, request.places, SocketFolderUse::keep);
  writeConfiguration(root, plan);
  const TreeFolder bin = root.subfolder("bin");
  bin.write("clamdscan", wrapper, 0755);
  bin.write("freshclam", launcher, 0755);
  root.subfolder("sbin").write("clamd", launcher, 0755);
  return plan;
}

TreePlan refreshTree(const std::string& root, const MachinePlaces& places, SocketFolderUse use) {
  const TreeFolder folder = TreeFolder::openOrMake(root);
  const UniqueFd turn = folder.lock(treeLock);
  const std::string before = folder.subfolder("etc").read(launchConf).value_or("");
  TreePlan plan = planTree(folder, parseLaunchConf(before).machineWide, places, use);
  writeConfiguration(folder, plan);
  return plan;
}

std::string defaultRoot(bool machineWide) {
  if (machineWide) {
    return "/usr/local/vantrel";
  }
  const char* data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && data[0] == '/') {
    return std::string(data) + "/vantrel/engine";
  }
  const char* named = std::getenv("HOME");
  const std::string home = named != nullptr ? named : accountNumbered(geteuid()).home;
  if (home.empty() || home.front() != '/') {
    throw PlatformException(PlatformException::Kind::notFound, "TreeFailure",
                            "no home folder: HOME is not set; name a folder");
  }
  return home + "/.local/share/vantrel/engine";
}

}  // namespace quillo

#include "agent/FolderOpener.h"

#include <memory>

#include "platform/Application.h"
#include "platform/Workspace.h"
#include "posix/ChildProcess.h"
#include "posix/PlatformException.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

LaunchRequest openerOf(const std::string& folder) {
  return {"/usr/bin/open", {folder}, LaunchRequest::Output::inherited};
}

}  // namespace

void FolderOpener::openAndWait(const std::string& folder) {
  try {
    ChildProcess opener(openerOf(folder));
    application_.waitKeepingDesktopAlive([&opener] { opener.waitUntilExit(); });
  } catch (const PlatformException&) {
    workspace_.openFile(folder);
  }
}

void FolderOpener::open(const std::string& folder) {
  try {
    const auto opener = std::make_shared<ChildProcess>(openerOf(folder));
    threads_.detachNewThread("open", [opener] { opener->waitUntilExit(); });
  } catch (const PlatformException&) {
    workspace_.openFile(folder);
  }
}

}  // namespace quillo

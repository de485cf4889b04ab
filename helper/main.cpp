#include <fcntl.h>
#include <linux/capability.h>
#include <unistd.h>

#include <cstdio>
#include <exception>

#include "helper/Confinement.h"
#include "helper/EventLoop.h"
#include "helper/Failure.h"
#include "helper/Groups.h"
#include "helper/Inheritance.h"
#include "helper/Marker.h"
#include "helper/OwnLog.h"
#include "helper/Parent.h"
#include "helper/Rights.h"
#include "helper/SystemLog.h"

namespace {

using namespace quillo::helper;

void watch() {
  requireRoot();
  const Parent parent = findParent();
  OwnLog log(parent);
  openSystemLog();
  becomeCallerKeeping({CAP_SYS_ADMIN, CAP_DAC_READ_SEARCH});
  const Groups groups = openGroups();
  const quillo::UniqueFd marker = startMarker(groups);
  giveUp(CAP_SYS_ADMIN);
  EventLoop loop(groups, parent, std::move(log), marker.get());
  confineReader();
  loop.run();
}

// The agent may read standard error and output from one pipe: no line of it may look like a path.
int say(const char* reason, int status) {
  dprintf(STDERR_FILENO, "gfslogger: %s\n", reason);
  return status;
}

}  // namespace

#ifndef QUILLO_SECCOMP
// A sanitizer looks for leaks by tracing the process, which one with these rights does not allow.
extern "C" const char* __asan_default_options();
const char* __asan_default_options() { return "detect_leaks=0"; }
#endif

int main(int argc, char**) {
  try {
    shedInheritance();
    if (argc > 1) return say("takes no arguments", misused);
    watch();
    return ended;
  } catch (const ReaderGone&) {
    return ended;
  } catch (const LacksRights& reason) {
    return say(reason.what(), lacksRights);
  } catch (const std::exception& reason) {
    return say(reason.what(), failed);
  }
}

#include "app/vantrel/MainWindowProgram.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <memory>
#include <string>

#include "app/vantrel/CompanionPages.h"
#include "companion/Companion.h"
#include "platform/Application.h"
#include "platform/Session.h"
#include "platform/SystemLog.h"
#include "platform/linux/CompanionPlatform.h"

namespace quillo {
namespace {

// The bus that started it calls at once.
constexpr int secondsForTheBus = 30;

// The other process has a working folder of its own.
std::string absolutePath(const std::string& path) {
  char folder[PATH_MAX];
  if (path.starts_with('/') || !getcwd(folder, sizeof folder)) {
    return path;
  }
  return std::string(folder) + "/" + path;
}

CompanionRequest requestOf(const StartRequest& start) {
  CompanionRequest request;
  request.page = start.page;
  for (const std::string& path : start.paths) {
    request.paths.push_back(absolutePath(path));
  }
  return request;
}

int fail(const std::string& problem) {
  std::fprintf(stderr, "vantrel: %s\n", problem.c_str());
  return 1;
}

std::string answer(Companion& companion, const CompanionRequest& request) {
  return request.paths.empty() ? companion.show(request.page) : companion.open(request.paths);
}

int showWindow(CompanionPlatform& platform, const StartRequest& start) {
  const CompanionDesktop& desktop = platform.services();
  auto companion = std::make_unique<Companion>(
      Companion::Services{desktop.mainWindow, desktop.localizedStrings, desktop.systemLog},
      companionPages(desktop));
  desktop.distributedNotificationCenter.addObserver(
      "VantrelShouldOpenPrefs", [&companion] { companion->showIfThere("settings"); });
  int status = 0;
  const auto begin = [&] {
    if (start.kind == StartRequest::Kind::service) {
      platform.endUnlessShownWithin(secondsForTheBus);
      return;
    }
    if (const std::string problem = answer(*companion, requestOf(start)); !problem.empty()) {
      status = fail(problem);
      desktop.application.terminate();
    }
  };
  const int ended = platform.run(
      begin, [&](const CompanionRequest& request) { return answer(*companion, request); });
  // Threads of the pages may be at work on what lies on this stack, and end with the process only.
  desktop.application.exit(status != 0 ? status : ended);
  return status;
}

}  // namespace

int runMainWindow(int& argc, char** argv, const StartRequest& start) {
  CompanionPlatform platform(argc, argv);
  LocalizedStrings& strings = platform.services().localizedStrings;
  if (const auto problem = platform.problem()) {
    return fail(problem->in(strings));
  }
  if (platform.isFirst()) {
    return showWindow(platform, start);
  }
  if (start.kind == StartRequest::Kind::service) {
    return 0;
  }
  const std::string problem = platform.askFirst(requestOf(start));
  return problem.empty() ? 0 : fail(Wording{"WINDOW_NOT_ANSWERED", {problem}}.in(strings));
}

}  // namespace quillo

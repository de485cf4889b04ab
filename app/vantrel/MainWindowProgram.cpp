#include "app/vantrel/MainWindowProgram.h"

#include <cstdio>
#include <memory>
#include <string>

#include "app/vantrel/CompanionPages.h"
#include "app/vantrel/CompanionParts.h"
#include "companion/CommandWords.h"
#include "companion/Companion.h"
#include "platform/Application.h"
#include "platform/PreferenceStore.h"
#include "platform/SystemLog.h"
#include "platform/linux/companion/CompanionPlatform.h"

namespace quillo {
namespace {

// The bus that started it calls at once.
constexpr int secondsForTheBus = 30;

// The other process has a working folder of its own.
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

// Whoever has no preferences yet is led through the first steps, unless he asks for a page or has
// one before him.
std::string answer(Companion& companion, PreferenceStore& preferences,
                   const CompanionRequest& request) {
  if (!request.paths.empty()) {
    return companion.open(request.paths);
  }
  const std::string firstSteps = "start";
  preferences.synchronize();
  const bool isNew = !preferences.hasAny() && companion.has(firstSteps);
  const bool isLed = isNew && request.page.empty() && !companion.isShown();
  return companion.show(isLed ? firstSteps : request.page);
}

int showWindow(CompanionPlatform& platform, const StartRequest& start) {
  const CompanionDesktop& desktop = platform.services();
  CompanionParts parts(desktop);
  auto companion = std::make_unique<Companion>(
      Companion::Services{platform.window(), desktop.localizedStrings, desktop.systemLog},
      companionPages(parts, platform.window()));
  parts.scan = [&companion](const std::vector<std::string>& paths) { companion->open(paths); };
  const auto answerRequest = [&](const CompanionRequest& request) {
    return answer(*companion, desktop.preferenceStore, request);
  };
  int status = 0;
  const auto begin = [&] {
    if (start.kind == StartRequest::Kind::service) {
      platform.endUnlessShownWithin(secondsForTheBus);
      return;
    }
    if (const std::string problem = answerRequest(requestOf(start)); !problem.empty()) {
      status = fail(problem);
      desktop.application.terminate();
    }
  };
  const int ended = platform.run(begin, answerRequest);
  companion.reset();
  parts.endHistory();
  // Threads may be at work on what lies on this stack, and end with the process only.
  desktop.application.exit(status != 0 ? status : ended);
  return status;
}

}  // namespace

int runMainWindow(char** argv, const StartRequest& start) {
  // Qt would take names of files behind it for options of its own, one of which loads a plugin.
  int programAlone = 1;
  CompanionPlatform platform(programAlone, argv);
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

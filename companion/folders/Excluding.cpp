#include "companion/folders/Excluding.h"

#include "clamav/Verdict.h"
#include "companion/settings/PreferenceLists.h"
#include "platform/LocalizedStrings.h"
#include "platform/Page.h"

namespace quillo {
namespace {

void say(const ExcludingServices& services, const Wording& words) {
  LocalizedStrings& strings = services.localizedStrings;
  services.window.ask(
      {words.in(strings), "", {strings.stringForKey("WINDOW_BUTTON_CLOSE", "&Close")}},
      [](std::size_t) {});
}

void exclude(const ExcludingServices& services, const std::vector<ExcludePattern>& patterns) {
  const Wording problem = services.exclusions.addExclusions(patterns);
  say(services, problem.empty() ? Wording{"WINDOW_EXCLUDED", {}} : problem);
}

std::string onNewLine(const std::string& text) { return text.empty() ? "" : "\n" + text; }

}  // namespace

void excludeExpression(const ExcludingServices& services, const std::string& expression) {
  exclude(services, {{expression, true}});
}

void askToExclude(const ExcludingServices& services, const std::vector<std::string>& paths) {
  LocalizedStrings& strings = services.localizedStrings;
  std::vector<ExcludePattern> patterns;
  std::string shown;
  std::string leftOut;
  for (const std::string& path : paths) {
    if (const auto pattern = services.exclusions.patternFor(path, false)) {
      patterns.push_back(*pattern);
      shown += (shown.empty() ? "" : "\n") + pattern->text;
    } else {
      leftOut += (leftOut.empty() ? "" : "\n") +
                 Wording{"WINDOW_NO_PATTERN", {reportedText(path)}}.in(strings);
    }
  }
  if (patterns.empty()) {
    say(services, {"", {leftOut}});
    return;
  }
  services.window.ask(
      {strings.stringForKey("WINDOW_EXCLUDE", "Scan what matches these patterns no more?"),
       shown + onNewLine(onNewLine(leftOut)),
       {strings.stringForKey("WINDOW_BUTTON_EXCLUDE", "&Exclude"),
        strings.stringForKey("WINDOW_BUTTON_CANCEL", "&Cancel")},
       true},
      [services, patterns](std::size_t button) {
        if (button == 0) {
          exclude(services, patterns);
        }
      });
}

}  // namespace quillo

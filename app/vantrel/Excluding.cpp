#include "app/vantrel/Excluding.h"

#include "app/vantrel/CompanionParts.h"
#include "clamav/Verdict.h"
#include "platform/LocalizedStrings.h"
#include "platform/Page.h"

namespace quillo {
namespace {

void tell(CompanionParts& parts, MainWindow& window, const Wording& words) {
  LocalizedStrings& strings = parts.desktop.localizedStrings;
  window.ask({words.in(strings), "", {strings.stringForKey("WINDOW_BUTTON_CLOSE", "&Close")}},
             [](std::size_t) {});
}

void exclude(CompanionParts& parts, MainWindow& window,
             const std::vector<ExcludePattern>& patterns) {
  for (const ExcludePattern& pattern : patterns) {
    const Wording problem = parts.exclusions.addExclusion(pattern);
    if (!problem.empty()) {
      tell(parts, window, problem);
      return;
    }
  }
  tell(parts, window, {"WINDOW_EXCLUDED", {}});
}

std::string onNewLine(const std::string& text) { return text.empty() ? "" : "\n" + text; }

}  // namespace

void excludeExpression(CompanionParts& parts, MainWindow& window, const std::string& expression) {
  exclude(parts, window, {{expression, true}});
}

void askToExclude(CompanionParts& parts, MainWindow& window,
                  const std::vector<std::string>& paths) {
  LocalizedStrings& strings = parts.desktop.localizedStrings;
  std::vector<ExcludePattern> patterns;
  std::string shown;
  std::string leftOut;
  for (const std::string& path : paths) {
    if (const auto pattern = parts.exclusions.patternFor(path, false)) {
      patterns.push_back(*pattern);
      shown += (shown.empty() ? "" : "\n") + pattern->text;
    } else {
      leftOut += (leftOut.empty() ? "" : "\n") +
                 Wording{"WINDOW_NO_PATTERN", {reportedText(path)}}.in(strings);
    }
  }
  if (patterns.empty()) {
    tell(parts, window, {"", {leftOut}});
    return;
  }
  window.ask({strings.stringForKey("WINDOW_EXCLUDE", "Scan what matches these patterns no more?"),
              shown + onNewLine(onNewLine(leftOut)),
              {strings.stringForKey("WINDOW_BUTTON_EXCLUDE", "&Exclude"),
               strings.stringForKey("WINDOW_BUTTON_CANCEL", "&Cancel")},
              true},
             [&parts, &window, patterns](std::size_t button) {
               if (button == 0) {
                 exclude(parts, window, patterns);
               }
             });
}

}  // namespace quillo

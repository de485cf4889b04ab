#include "companion/Companion.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <utility>

#include "platform/LocalizedStrings.h"
#include "platform/SystemLog.h"

namespace quillo {
namespace {

std::string titleKey(const std::string& page) {
  std::string key = "WINDOW_PAGE_" + page;
  std::transform(key.begin(), key.end(), key.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return key;
}

}  // namespace

Companion::Companion(const Services& services, std::vector<CompanionPage> pages)
    : window_(services.window), strings_(services.strings), systemLog_(services.systemLog) {
  entries_.reserve(pages.size());
  for (CompanionPage& page : pages) {
    const std::string name = page.name;
    entries_.push_back({std::move(page), {}});
    window_.addToList(name, strings_.stringForKey(titleKey(name), name));
    window_.onShown(name, [this, name] {
      // Making the page puts its own action in the place of this one.
      Companion& self = *this;
      const std::string shown = name;
      Entry& entry = *self.entryNamed(shown);
      if (!entry.isMade) {
        self.make(entry);
        self.window_.show(shown);
      }
    });
  }
}

std::string Companion::show(const std::string& name) {
  if (entries_.empty()) {
    return unknown(name);
  }
  const std::string wanted = name.empty() ? window_.shownPage() : name;
  Entry* const entry = wanted.empty() ? &entries_.front() : entryNamed(wanted);
  if (!entry) {
    return unknown(name);
  }
  make(*entry);
  window_.show(entry->page.name);
  return "";
}

std::string Companion::open(const std::vector<std::string>& paths) {
  const std::string taker = "scan";
  const std::string problem = show(taker);
  if (problem.empty() && !paths.empty()) {
    if (const Entry& entry = *entryNamed(taker); entry.living.take) {
      entry.living.take(paths);
    }
  }
  return problem;
}

Companion::Entry* Companion::entryNamed(const std::string& name) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return entry.page.name == name; });
  return found == entries_.end() ? nullptr : &*found;
}

// One page that cannot be made takes none of the others with it.
void Companion::make(Entry& entry) {
  if (std::exchange(entry.isMade, true)) {
    return;
  }
  try {
    entry.living = entry.page.make(window_.page(entry.page.name));
  } catch (const std::exception& failure) {
    systemLog_.log("The page " + entry.page.name + " cannot be shown: " + failure.what());
    window_.ask({strings_.stringForKey("WINDOW_PAGE_FAILED", "This page cannot be shown."),
                 failure.what(),
                 {strings_.stringForKey("WINDOW_BUTTON_CLOSE", "&Close")}},
                [](std::size_t) {});
  }
}

std::string Companion::unknown(const std::string& name) const {
  std::string names;
  for (const Entry& entry : entries_) {
    names += (names.empty() ? "" : ", ") + entry.page.name;
  }
  return Wording{"WINDOW_UNKNOWN_PAGE", {name, names}}.in(strings_);
}

}  // namespace quillo

#pragma once

#include <optional>

#include "companion/settings/SettingsPage.h"
#include "tests/fakes/desktop/PreferencePagesFixture.h"

namespace quillo {

// The page of settings over preferences in files of the test's own.
class SettingsPageFixture : public PreferencePagesFixture {
 protected:
  // Makes the page and shows it.
  FakePage& shown() {
    made_.emplace(page_, window,
                  SettingsPage::Services{changes, preferences, agent, center, folders, strings,
                                         workspace, 8});
    window.show("settings");
    return page_;
  }
  SettingsPage& logic() { return *made_; }

  FakeWorkspace workspace;

 private:
  FakePage page_{"settings"};
  std::optional<SettingsPage> made_;
};

}  // namespace quillo

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "companion/settings/PreferenceChanges.h"
#include "companion/settings/PreferenceLists.h"
#include "settings/TypedPreferences.h"
#include "tests/fakes/desktop/FakeAgentLink.h"
#include "tests/fakes/desktop/FakePage.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/desktop/FilePreferenceStore.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// The preferences of a user, in files of the test's own, and whoever changes them.
class PreferencePagesFixture : public testing::Test {
 protected:
  PreferencePagesFixture() {
    folders.home = home.path();
    agent.become(FakeAgentLink::watching("1"));
  }

  void writeOwn(const std::string& text) const {
    home.write("config/org.vantrel.Vantrel.toml", text);
  }
  // What goes before the user's own file, and what comes behind it.
  void writeAbove(const std::string& text) const {
    home.write("config/org.vantrel.VantrelQuillo.toml", text);
  }
  void writeBelow(const std::string& text) const {
    home.write("machine/org.vantrel.Vantrel.toml", text);
  }
  std::string ownText() const { return TemporaryFolder::read(writer.path()); }
  void agentIs(const std::string& state) {
    AgentStatus status = FakeAgentLink::watching("1");
    status.state = state;
    agent.become(status);
  }
  int restarts() const { return static_cast<int>(center.posted.size()); }

  TemporaryFolder home;
  FakeFolders folders;
  FakeSystemLog log;
  FakeLocalizedStrings strings;
  FakeDistributedNotificationCenter center;
  FakeTrashFolders trash;
  FilePreferenceStore store{home};
  TypedPreferences preferences{store, folders, log};
  PreferenceWriter writer{store.fileOf("org.vantrel.Vantrel")};
  FakeAgentLink agent;
  PreferenceChanges changes{{store, writer, center, agent}};
  ChosenFolders chosenFolders{{changes, preferences, folders, log}};
  Exclusions exclusions{{changes, preferences, folders, log}};
  FakeMainWindow window;
};

}  // namespace quillo

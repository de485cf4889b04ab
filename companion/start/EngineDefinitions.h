#pragma once

#include <functional>

#include "companion/start/StartPage.h"

namespace quillo {

class AgentLink;
class Clock;
class DefinitionUpdate;
class TypedPreferences;

// The definitions of the engine that the preferences name, for the first start: how old they are,
// and how an update goes, whether it was started here or by the agent. Main thread.
class EngineDefinitions final : public FirstDefinitions {
 public:
  // All of them outlive it.
  struct Services {
    AgentLink& agent;
    Clock& clock;
    DefinitionUpdate& update;
    LocalizedStrings& strings;
    const TypedPreferences& preferences;
  };

  explicit EngineDefinitions(const Services& services) : services_(services) {}

  State state() override;
  void start() override;
  void observe(std::function<void()> changed) override;

 private:
  const Services services_;
};

}  // namespace quillo

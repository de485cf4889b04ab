#include "companion/start/EngineDefinitions.h"

#include <tuple>
#include <utility>

#include "companion/definitions/DefinitionUpdate.h"
#include "companion/overview/OverviewText.h"
#include "posix/Clock.h"
#include "settings/TypedPreferences.h"

namespace quillo {

FirstDefinitions::State EngineDefinitions::state() {
  const DefinitionUpdate::State& update = services_.update.state();
  const std::optional<AgentStatus> agent = services_.agent.status();
  const UpdateProgress progress = update.progress.value_or(UpdateProgress());
  State state;
  state.runs = update.runs || (agent && agent->updating);
  state.done = progress.done;
  state.all = progress.all;
  const OverviewText text(services_.strings, services_.clock.wallTime());
  if (state.runs) {
    state.words = text.update({true, update.progress, std::nullopt});
    return state;
  }
  const std::string outcome = text.update(update);
  state.words = text.definitions(
      definitionsInUse(agent, services_.preferences.value(key::pathToClamav).value_or("")));
  state.words += (outcome.empty() ? "" : "\n") + outcome;
  return state;
}

void EngineDefinitions::start() { services_.update.start(); }

void EngineDefinitions::observe(std::function<void()> changed) {
  services_.update.observe(changed);
  // An agent that scans changes several times a second; its definitions seldom.
  using Known = std::tuple<bool, std::int64_t, std::string>;
  const auto known = [&agent = services_.agent] {
    const AgentStatus status = agent.status().value_or(AgentStatus());
    return Known(status.updating, status.definitionsBuilt, status.definitionFolder);
  };
  services_.agent.observe([known, before = known(), changed = std::move(changed)]() mutable {
    if (Known now = known(); now != before) {
      before = std::move(now);
      changed();
    }
  });
}

}  // namespace quillo

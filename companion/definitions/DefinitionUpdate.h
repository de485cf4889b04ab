#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "engine/DefinitionUpdater.h"

namespace quillo {

class Application;
class ThreadStarter;
class TypedPreferences;

// The services that an update uses. All of them outlive it.
struct DefinitionUpdateServices {
  Application& application;
  ThreadStarter& threads;
  const TypedPreferences& preferences;
};

// An update of the virus definitions by the engine's own updater, started by hand and followed by
// whoever wants to show it. The updater runs on a thread of its own; one at a time. Main thread.
class DefinitionUpdate {
 public:
  struct State {
    bool runs = false;
    // Of the file that is being downloaded; nothing where nothing is known.
    std::optional<UpdateProgress> progress;
    // Of the last one; nothing before the first has ended, and while one runs.
    std::optional<UpdateResult> result;

    bool operator==(const State&) const = default;
  };

  explicit DefinitionUpdate(const DefinitionUpdateServices& services);
  // Ends an updater that runs.
  ~DefinitionUpdate();
  DefinitionUpdate(const DefinitionUpdate&) = delete;
  DefinitionUpdate& operator=(const DefinitionUpdate&) = delete;

  // Starts one, unless one runs. Every outcome is a state.
  void start();
  const State& state() const { return state_; }
  // Has `changed` called whenever the state is another.
  void observe(std::function<void()> changed) { observers_.push_back(std::move(changed)); }

 private:
  struct Run;
  class Reach;

  static void runToEnd(const std::shared_ptr<Run>& run);
  void become(const State& state);

  const DefinitionUpdateServices services_;
  std::shared_ptr<Run> run_;
  State state_;
  std::vector<std::function<void()>> observers_;
};

}  // namespace quillo

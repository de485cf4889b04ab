#pragma once

#include <functional>
#include <optional>
#include <string>

#include "companion/definitions/DefinitionPlace.h"
#include "companion/overview/Guard.h"
#include "companion/overview/LaterCounts.h"
#include "companion/overview/RecentCounts.h"
#include "platform/AgentLink.h"

namespace quillo {

class Application;
class Clock;
class DefinitionUpdate;
class DistributedNotificationCenter;
class LocalizedStrings;
class MainWindow;
class Page;
class ThreadStarter;
class TypedPreferences;

// The services that the overview uses. All of them outlive it.
struct OverviewServices {
  AgentLink& agent;
  Clock& clock;
  DefinitionUpdate& update;
  LocalizedStrings& strings;
  DistributedNotificationCenter& notifications;
  const TypedPreferences& preferences;
  RecentCounts& counts;
  Application& application;
  ThreadStarter& threads;
  // Makes an engine of what is installed and has the agent use it, in seconds, while the desktop
  // stays alive. Returns what went wrong.
  std::function<Wording()> setUpEngine;
};

// The first page: whether its user is guarded, why not and the one button that mends it, and what
// goes on. It follows the agent's own word and asks nobody now and then. Main thread.
class OverviewPage {
 public:
  OverviewPage(Page& page, MainWindow& window, const OverviewServices& services);

  // Shows everything anew: for whoever knows that the history has news.
  void refresh();

 private:
  void countAnew();
  void lookForDefinitions();
  void showGuard();
  void showFacts();
  void showCounts();
  void showUpdate();
  bool mayClose();
  void showWhetherMending(bool updates);
  std::string reason() const;
  void mend();
  void startAgent();
  void setUpEngine();
  void restartAgent();
  void agentChanged();
  std::string text(const std::string& key) const;

  Page& page_;
  MainWindow& window_;
  const OverviewServices services_;
  Guard guard_;
  LaterCounts counting_;
  // As they were when somebody last said that they are others; nothing before that is known.
  std::optional<RecentCounts::Counts> counts_;
  DefinitionPlace definitions_;
  AgentStatus known_;
  // The agent was asked to end, and is started again as soon as it has.
  bool startsOnceGone_ = false;
  bool isAsking_ = false;
  // Its user agreed that what is downloaded so far is lost.
  bool mayEndUpdate_ = false;
  Wording engineProblem_;
};

}  // namespace quillo

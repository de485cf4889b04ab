#pragma once

#include <memory>
#include <string>
#include <vector>

#include "benchmarks/interface/BusTraffic.h"
#include "posix/UniqueFd.h"
#include "tests/desktop/support/session/DesktopSession.h"

namespace bench {

// A desktop with a panel and a notification server, and an agent on it whose engine and helper are
// small scripts: they do what they are asked to and take no time of their own.
class Stage {
 public:
  // `build`: the folder of the build; `root`: an empty folder.
  Stage(const std::string& build, const std::string& root);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  // How long the engine takes to load; lines to add to the preferences. For the next start.
  void setLoadSeconds(int seconds);
  void setPreferences(const std::string& lines);
  // Starts the agent and waits until the panel has its icon; returns how long that took.
  Milliseconds startAgent();
  void awaitWatching();
  void stopAgent();
  // Starts the main application at that page and waits until its window, of that title, is on the
  // screen; returns how long that took. It has ended when this returns.
  Milliseconds startWindow(const std::string& page, const std::string& title);

  // What the engine does with files: "clean", "infected" or "hang".
  void setEngine(const std::string& behaviour);
  // Saves so many files and has the helper report them.
  void changeFiles(int count);
  // Waits until the scan log holds that text so many times behind what it held at the last start.
  void awaitLog(const std::string& text, int times = 1);

  quillo::DesktopSession& session() { return session_; }
  // The program of the main application's window.
  std::string window() const { return root_ + "/bin/vantrel"; }
  BusTraffic& traffic() { return *traffic_; }
  const std::string& busAddress() const { return address_; }
  const std::string& item() const { return item_; }
  // D-Bus messages that the agent sent or was sent since the monitor was cleared.
  int messagesOfAgent();
  std::vector<pid_t> agent() const { return {agent_->processIdentifier()}; }
  static std::vector<pid_t> panel();

 private:
  void installAgent(const std::string& build);
  void makeReports();
  void writeEngine();
  void writeScript(const std::string& path, const std::string& commands);

  const std::string root_;
  quillo::DesktopSession session_;
  std::string address_;
  std::unique_ptr<BusTraffic> traffic_;
  std::unique_ptr<quillo::ChildProcess> agent_;
  quillo::UniqueFd reports_;
  std::string item_;
  int starts_ = 0;
  int files_ = 0;
};

}  // namespace bench

#include "tests/desktop/root/AgentInSession.h"

#include <filesystem>
#include <utility>

#include "tests/root/support/world/FilesAndMounts.h"

namespace quillo::tests {
namespace {

constexpr const char* emptied = "/home/.emptied";
constexpr const char* center = "/org/vantrel/DistributedNotificationCenter";

// Empty folders for homes and for volumes.
void arrangeMachine() {
  if (!std::filesystem::exists(emptied)) {
    mountTmpfs("/home", "mode=755");
    mountTmpfs("/media", "mode=755");
    writeFile(emptied);
  }
}

}  // namespace

AgentInSession::AgentInSession() : user_("ada", homeOfAda) { arrangeMachine(); }

void AgentInSession::makeHome(const std::string& preferences) {
  home_ = std::make_unique<GuardedHome>(preferences, GuardedHome::Places{homeOfAda, ""});
}

void AgentInSession::enter(std::unique_ptr<UserSession> session) {
  session_ = std::move(session);
  bus_ = std::make_unique<BusMonitor>(session_->busAddress());
}

void AgentInSession::addVariable(const std::string& variable) { variables_.push_back(variable); }

void AgentInSession::start() {
  // The last of two variables of one name counts.
  std::vector<std::string> desktop = session_->environment();
  desktop.insert(desktop.end(), variables_.begin(), variables_.end());
  home_->setDesktop(desktop);
  home_->start();
}

void AgentInSession::startAndAwaitWatching() {
  start();
  home_->awaitWatching();
}

void AgentInSession::post(const std::string& name) {
  session_
      ->startCommand({"dbus-send", "--session", center,
                      "org.vantrel.DistributedNotificationCenter." + name, "string:test"})
      ->waitUntilExit();
}

std::string AgentInSession::outputOf(std::vector<std::string> command) {
  const std::string output = "/tmp/output-of-command";
  command.insert(command.begin(), {"/bin/sh", "-c", "exec \"$@\" >" + output + " 2>&1", "command"});
  session_->startCommand(std::move(command))->waitUntilExit();
  std::string text = readFile(output);
  std::filesystem::remove(output);
  return text;
}

std::string AgentInSession::valueForKey(const std::string& key) {
  return outputOf({"dbus-send", "--session", "--print-reply", "--dest=org.vantrel.VantrelQuillo",
                   "/org/vantrel/VantrelQuillo", "org.vantrel.VantrelQuillo.ValueForKey",
                   "string:" + key});
}

std::string AgentInSession::statusItem() {
  const std::vector<std::string> items = session_->bus().statusItems();
  return items.size() == 1 ? items.front() : "";
}

}  // namespace quillo::tests

#include "benchmarks/interface/Stage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

#include "benchmarks/interface/BusTraffic.h"
#include "benchmarks/interface/Figures.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr Milliseconds patience(60000);
constexpr Milliseconds betweenLooks(10);

std::string addressIn(const std::vector<std::string>& environment) {
  const std::string key = "DBUS_SESSION_BUS_ADDRESS=";
  for (const std::string& variable : environment) {
    if (variable.starts_with(key)) {
      return variable.substr(key.size());
    }
  }
  return "";
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

Stage::Stage(const std::string& build, const std::string& root)
    : root_(root), address_(addressIn(session_.environment())) {
  fs::create_directories(session_.homeFolder() + "/Downloads");
  fs::create_directories(session_.homeFolder() + "/.config/vantrel");
  fs::create_directories(session_.homeFolder() + "/Library/Logs");
  installAgent(build);
  writeEngine();
  setLoadSeconds(0);
  setEngine("clean");
  setPreferences("");
  session_.startPanel();
  session_.startNotificationServer();
  traffic_ = std::make_unique<BusTraffic>(address_);
}

Stage::~Stage() { agent_.reset(); }

void Stage::installAgent(const std::string& build) {
  fs::create_directories(root_ + "/bin");
  fs::create_directories(root_ + "/lib");
  fs::copy(build + "/vantrel-quillo", root_ + "/bin/vantrel-quillo");
  fs::copy(build + "/vantrel", root_ + "/bin/vantrel");
  const std::string resources = root_ + "/lib/vantrel-quillo";
  fs::copy(build + "/resources", resources, fs::copy_options::recursive);
  fs::remove(resources + "/gfslogger");
  writeScript(resources + "/gfslogger",
              "exec /bin/cat " + root_ + "/reports\"$(/bin/cat " + root_ + "/starts)\"");
}

// A pipe for each start: the helper of an agent that has ended may still read the one before. It is
// held open at both ends, so that the helper never sees an end of it.
void Stage::makeReports() {
  const std::string pipe = root_ + "/reports" + std::to_string(++starts_);
  std::ofstream(root_ + "/starts") << starts_ << "\n";
  if (mkfifo(pipe.c_str(), 0600) != 0) {
    throw std::runtime_error("cannot make " + pipe);
  }
  reports_.reset(open(pipe.c_str(), O_RDWR | O_CLOEXEC));
}

void Stage::writeEngine() {
  const std::string engine = root_ + "/engine";
  for (const char* folder : {"/bin", "/sbin", "/etc"}) {
    fs::create_directories(engine + folder);
  }
  std::ofstream(engine + "/etc/clamd.conf") << "LocalSocket " << root_ << "/clamd.ctl\n";
  writeScript(engine + "/sbin/clamd", "exec sleep \"$(cat " + root_ + "/load-seconds)\"");
  writeScript(engine + "/bin/freshclam", "exit 0");
  writeScript(
      engine + "/bin/clamdscan",
      "for argument; do case $argument in --file-list=*) list=${argument#*=};; esac; done\n"
      "case $(cat " +
          root_ +
          "/behaviour) in\n"
          "hang) exec sleep infinity ;;\n"
          "infected) while read -r path; do echo \"$path: Test.Threat FOUND\"; done <\"$list\"\n"
          "  exit 1 ;;\n"
          "*) while read -r path; do echo \"$path: OK\"; done <\"$list\" ;;\n"
          "esac");
}

void Stage::writeScript(const std::string& path, const std::string& commands) {
  std::ofstream(path) << "#!/bin/sh\n" << commands << "\n";
  fs::permissions(path, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
}

void Stage::setLoadSeconds(int seconds) {
  std::ofstream(root_ + "/load-seconds") << seconds << "\n";
}

void Stage::setEngine(const std::string& behaviour) {
  std::ofstream(root_ + "/behaviour") << behaviour << "\n";
}

void Stage::setPreferences(const std::string& lines) {
  std::ofstream(session_.homeFolder() + "/.config/vantrel/org.vantrel.VantrelQuillo.toml")
      << "PathToClamav = \"" << root_ << "/engine\"\nPathToUpdateLog = \"" << root_
      << "/update.log\"\n"
      << lines << "\n[[QuilloFolderArray]]\npathName = \"~/Downloads\"\nWatchSubdirs = true\n";
}

Milliseconds Stage::startAgent() {
  fs::remove(session_.homeFolder() + "/Library/Logs/VantrelQuillo-scan.log");
  makeReports();
  traffic_->clear();
  quillo::LaunchRequest request{
      root_ + "/bin/vantrel-quillo", {}, quillo::LaunchRequest::Output::inherited};
  request.environment = session_.environment();
  const Milliseconds begin = now();
  agent_ = session_.start(request);
  return traffic_->awaitStatusItem(item_) - begin;
}

void Stage::awaitWatching() { awaitLog("clamd launched successfully"); }

void Stage::stopAgent() {
  agent_->terminate();
  agent_->waitUntilExit();
  agent_.reset();
}

Milliseconds Stage::startWindow(const std::string& page, const std::string& title) {
  const Milliseconds begin = now();
  const auto window = session_.startCommand({this->window(), "--page", page});
  if (!session_.screen().eventually(
          [&] { return session_.screen().countWindows(title + " – Vantrel") == 1; })) {
    throw std::runtime_error("the window does not come up");
  }
  const Milliseconds taken = now() - begin;
  window->terminate();
  window->waitUntilExit();
  return taken;
}

void Stage::changeFiles(int count) {
  std::string lines;
  for (int index = 0; index < count; ++index) {
    const std::string path = session_.homeFolder() + "/Downloads/file" + std::to_string(files_++);
    std::ofstream(path) << "contents";
    lines += path + "\n";
  }
  if (!quillo::writeAll(reports_.get(), lines)) {
    throw std::runtime_error("the helper takes no reports");
  }
}

void Stage::awaitLog(const std::string& text, int times) {
  const std::string path = session_.homeFolder() + "/Library/Logs/VantrelQuillo-scan.log";
  const Milliseconds deadline = now() + patience;
  for (;;) {
    const std::string log = contentsOf(path);
    int found = 0;
    for (std::size_t at = log.find(text); at != std::string::npos;
         at = log.find(text, at + text.size())) {
      ++found;
    }
    if (found >= times) {
      return;
    }
    if (now() > deadline) {
      throw std::runtime_error("the log does not say \"" + text + "\" but:\n" + log);
    }
    pause(betweenLooks);
  }
}

int Stage::messagesOfAgent() {
  // Qt has the status item on a connection of its own.
  std::set<std::string> names = {uniqueNameOf(address_, item_),
                                 uniqueNameOf(address_, "org.vantrel.VantrelQuillo")};
  names.insert(item_);
  int total = 0;
  for (const std::string& name : names) {
    total += traffic_->messagesOf(name);
  }
  return total;
}

std::vector<pid_t> Stage::panel() { return familyOf("xfce4-panel"); }

}  // namespace bench

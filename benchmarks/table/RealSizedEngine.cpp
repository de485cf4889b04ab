#include <signal.h>
#include <sys/mount.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <unordered_set>

#include "benchmarks/support/Engine.h"
#include "benchmarks/support/Pause.h"
#include "benchmarks/support/ProcessFigures.h"
#include "benchmarks/support/StormFiles.h"
#include "benchmarks/table/Bench.h"

namespace bench {
namespace {

constexpr int usualRounds = 2;
constexpr int definitions = 5000000;
constexpr Seconds patience(240);

// The same each time; nothing that is written here has such a sum.
void writeDefinitions(const std::string& path) {
  constexpr std::uint64_t multiplier = 6364136223846793005U;
  constexpr std::uint64_t increment = 1442695040888963407U;
  constexpr std::uint64_t sizes = 1000000;
  std::uint64_t state = 1;
  const auto next = [&state] {
    state = state * multiplier + increment;
    return state ^ (state >> 29);
  };
  std::ofstream file(path, std::ios::binary);
  std::array<char, 128> line{};
  for (int number = 0; number < definitions; ++number) {
    const int length = std::snprintf(
        line.data(), line.size(), "%016llx%016llx:%llu:Generated.Test-%d\n",
        static_cast<unsigned long long>(next()), static_cast<unsigned long long>(next()),
        static_cast<unsigned long long>(next() % sizes + 1), number);
    file.write(line.data(), length);
  }
  if (!file.flush()) {
    throw std::runtime_error("cannot write " + path);
  }
}

// A bus refuses whoever has no account.
void giveAccount(const std::string& folder) {
  const std::string accounts = folder + "/passwd";
  std::filesystem::copy_file("/etc/passwd", accounts,
                             std::filesystem::copy_options::overwrite_existing);
  std::ofstream(accounts, std::ios::app)
      << "bench:x:" << ordinaryUser << ":" << ordinaryUser << "::" << folder << ":/bin/sh\n";
  if (mount(accounts.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) != 0) {
    throw std::runtime_error("cannot cover /etc/passwd");
  }
}

// A session bus for the ordinary user, as long as it lives. It is root's, for whom there is an
// account, as a bus wants it.
class SessionBus {
 public:
  explicit SessionBus(const std::string& folder) : address_("unix:path=" + folder + "/bus") {
    giveAccount(folder);
    const std::string configuration = folder + "/bus.conf";
    writeFile(configuration,
              "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
              "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
              "<busconfig><type>session</type><listen>" +
                  address_ +
                  "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/>"
                  "<allow own=\"*\"/><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                  "<allow eavesdrop=\"true\"/></policy></busconfig>\n");
    process_ =
        start({"/usr/bin/dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + configuration},
              {"PATH=/usr/bin:/bin"}, folder + "/bus.log", rootUser);
    const Seconds deadline = now() + Seconds(30);
    while (!std::filesystem::exists(folder + "/bus")) {
      if (now() > deadline) {
        throw std::runtime_error("there is no session bus; see " + folder + "/bus.log");
      }
      pauseFor(Seconds(0.01));
    }
  }
  ~SessionBus() { end(process_, SIGTERM); }
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  const std::string& address() const { return address_; }
  // Asks the agent for its status. Returns whether it answered, be it that it has none yet.
  bool agentAnswers(const std::string& scratch) const {
    const std::string log = scratch + "/answer";
    writeFile(log, "");
    run({"/usr/bin/dbus-send", "--bus=" + address_, "--print-reply", "--reply-timeout=60000",
         "--dest=org.vantrel.VantrelQuillo", "/org/vantrel/VantrelQuillo",
         "org.vantrel.VantrelQuillo.Status"},
        {"PATH=/usr/bin:/bin"}, log, rootUser);
    std::ifstream file(log);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return text.starts_with("method return") || text.find("NoStatusYet") != std::string::npos;
  }

 private:
  const std::string address_;
  pid_t process_ = -1;
};

struct Figures {
  Samples start;        // of the daemon alone
  Samples memory;       // of the daemon
  Samples firstAnswer;  // of the agent's, from its start
  Samples usualAnswer;
  Samples longestAnswer;
  Samples named;
  Samples found;
  Samples storm;
  Samples silence;
};

void measureDaemon(Bench& bench, Figures& figures) {
  const Seconds begin = now();
  bench.peers().start();
  figures.start.add((now() - begin).count());
  figures.memory.add(proportionalMegabytes(processesNamed("clamd")));
  bench.peers().stop();
}

// Asks as long as the engine loads.
void measureAnswers(Bench& bench, const SessionBus& bus, Figures& figures) {
  constexpr Seconds between(0.05);
  Agent& agent = bench.agent();
  const Seconds begin = now();
  agent.start();
  Samples taken;
  bool engineAnswers = false;
  while (!engineAnswers) {
    const Seconds asked = now();
    if (bus.agentAnswers(bench.root())) {
      if (taken.empty()) {
        figures.firstAnswer.add((now() - begin).count());
      }
      taken.add((now() - asked).count());
    }
    // Its launcher may give it a new socket.
    engineAnswers = answers(socketIn(agent.tree() + "/etc/clamd.conf"));
    if (now() - begin > patience) {
      throw std::runtime_error("the agent does not watch; see " + agent.log());
    }
    pauseFor(between);
  }
  if (!taken.empty()) {
    figures.usualAnswer.add(taken.median());
    figures.longestAnswer.add(taken.greatest());
  }
  if (!awaitWatching(agent, bench.guarded(), patience)) {
    throw std::runtime_error("the agent does not watch; see " + agent.log());
  }
}

// In the middle of a storm all definitions are loaded anew.
void measureReload(Bench& bench, Figures& figures) {
  constexpr Seconds longEnough(120);
  static int number = 0;
  const Storm& storm = tenThousandFiles;
  Agent& agent = bench.agent();
  const std::string folder = bench.guarded() + "/reload" + std::to_string(number++);
  makeOrdinaryFolder(folder);
  SightingLog log(agent.log(), agent.lines(), folder);
  std::unordered_set<std::string> named;
  int found = 0;
  double silence = 0;
  bool isReloading = false;
  const Seconds begin = now();
  writeStorm(folder, storm);
  Seconds last = now();
  while (static_cast<int>(named.size()) < storm.files && now() - last < longEnough) {
    for (const Sighting& sighting : log.next(Seconds(1))) {
      if (isReloading) {
        silence = std::max(silence, (now() - last).count());
      }
      last = now();
      found += named.insert(sighting.path).second && sighting.infected ? 1 : 0;
    }
    if (!isReloading && static_cast<int>(named.size()) > storm.files / 5) {
      askDaemon(socketIn(agent.tree() + "/etc/clamd.conf"), "zRELOAD");
      isReloading = true;
    }
  }
  figures.named.add(static_cast<double>(named.size()));
  figures.found.add(found);
  figures.storm.add((last - begin).count());
  figures.silence.add(silence);
  std::filesystem::remove_all(folder);
}

}  // namespace

std::vector<Table> measureRealSizedEngine(Bench& bench) {
  tell("writing definitions");
  writeDefinitions(bench.agent().tree() + "/db/generated.hdb");
  const SessionBus bus(bench.root() + "/runtime");
  bench.agent().addToEnvironment("DBUS_SESSION_BUS_ADDRESS=" + bus.address());
  Figures figures;
  const int rounds = roundsOf(usualRounds);
  for (int round = 0; round < rounds; ++round) {
    tell("engine, round " + std::to_string(round + 1) + " of " + std::to_string(rounds));
    measureDaemon(bench, figures);
    tell("  the agent's start");
    measureAnswers(bench, bus, figures);
    tell("  a reload in the middle of a storm");
    measureReload(bench, figures);
    bench.agent().stop();
  }
  Table table;
  table.title = "An engine with 5,000,000 definitions";
  table.columns = {"What", "Figure"};
  table.rows = {{"clamd alone, start to first answer, s", {figures.start}},
                {"clamd's memory (PSS), MB", {figures.memory}},
                {"agent's start to its first answer over D-Bus, s", {figures.firstAnswer}},
                {"its answers while the engine loads: median, s", {figures.usualAnswer}},
                {"its answers while the engine loads: longest, s", {figures.longestAnswer}},
                {"reload in a storm of 10,000 files: files with a verdict", {figures.named}},
                {"infected files found, of 10", {figures.found}},
                {"first write to last verdict, s", {figures.storm}},
                {"longest time without a verdict, s", {figures.silence}}};
  table.about = "Median (least–greatest) of " + std::to_string(rounds) + " rounds.";
  table.notes = {
      "The definitions are generated MD5 sums beside the one for EICAR's file.",
      "An answer is that to the method Status, asked by dbus-send every 50 ms; the time has the "
      "start "
      "of dbus-send in it.",
      "The agent's daemon does not keep two sets of definitions during a reload, which halves its "
      "memory then; nothing is scanned meanwhile."};
  return {table};
}

}  // namespace bench

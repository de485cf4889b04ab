#include "benchmarks/support/Engine.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "benchmarks/support/ProcessFigures.h"
#include "benchmarks/support/StormFiles.h"
#include "posix/UniqueFd.h"

namespace bench {
namespace {

constexpr std::size_t batch = 200;

ScanCost scanLists(const std::vector<std::string>& client, const std::vector<std::string>& paths,
                   const std::vector<std::string>& environment, const std::string& scratch,
                   const std::string& log = "/dev/null") {
  std::vector<std::string> lists;
  for (std::size_t first = 0; first < paths.size(); first += batch) {
    std::string text;
    for (std::size_t index = first; index < std::min(first + batch, paths.size()); ++index) {
      text += paths[index] + "\n";
    }
    lists.push_back(scratch + "/list" + std::to_string(lists.size()));
    writeFile(lists.back(), text);
  }
  const auto worker = [&](std::size_t first) {
    for (std::size_t index = first; index < lists.size(); index += 2) {
      std::vector<std::string> command = client;
      command.insert(command.end(), {"--multiscan", "--stdout", "--file-list=" + lists[index]});
      run(command, environment, log);
    }
  };
  const Seconds begin = now();
  const Seconds before = childrensTime();
  std::thread second(worker, 1);
  worker(0);
  second.join();
  return {now() - begin, childrensTime() - before};
}

}  // namespace

void stopDaemon(const std::string& tree) { quitDaemon(socketIn(tree + "/etc/clamd.conf")); }

std::string socketIn(const std::string& configuration) {
  std::ifstream file(configuration);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("LocalSocket ")) {
      return line.substr(12);
    }
  }
  throw std::runtime_error("no socket in " + configuration);
}

std::string askDaemon(const std::string& socketPath, const std::string& command) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
  const quillo::UniqueFd endpoint(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  char reply[16];
  if (connect(endpoint.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      send(endpoint.get(), command.c_str(), command.size() + 1, MSG_NOSIGNAL) < 0) {
    return "";
  }
  const ssize_t count = quillo::readSome(endpoint.get(), reply, sizeof reply);
  return count > 0 ? std::string(reply, static_cast<std::size_t>(count)) : "";
}

bool answers(const std::string& socketPath) { return !askDaemon(socketPath, "zPING").empty(); }

void quitDaemon(const std::string& socketPath) {
  // The connection is closed when the daemon ends.
  askDaemon(socketPath, "zQUIT");
  // Orphans belong to the first process of this namespace. An ended daemon that nobody waited for
  // would look to the next agent as if it still ran.
  for (const pid_t daemon : processesNamed("clamd")) {
    waitpid(daemon, nullptr, 0);
  }
  while (waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

ScanCost scanWithClient(const std::string& configuration, const std::vector<std::string>& paths,
                        const std::vector<std::string>& environment, const std::string& scratch,
                        const std::string& log) {
  return scanLists({"/usr/bin/clamdscan", "--config-file=" + configuration, "--fdpass"}, paths,
                   environment, scratch, log);
}

ScanCost scanWithBareEngine(const std::string& tree, const std::vector<std::string>& paths,
                            const std::vector<std::string>& environment,
                            const std::string& scratch) {
  return scanWithClient(tree + "/etc/clamd.conf", paths, environment, scratch);
}

ScanCost scanWithTree(const std::string& tree, const std::vector<std::string>& paths,
                      const std::vector<std::string>& environment, const std::string& scratch) {
  return scanLists({tree + "/bin/clamdscan"}, paths, environment, scratch);
}

}  // namespace bench

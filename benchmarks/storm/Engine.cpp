#include "benchmarks/storm/Engine.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "benchmarks/storm/StormFiles.h"

namespace bench {
namespace {

constexpr std::size_t batch = 200;

std::string socketOf(const std::string& tree) {
  std::ifstream file(tree + "/etc/clamd.conf");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("LocalSocket ")) {
      return line.substr(12);
    }
  }
  throw std::runtime_error("no socket in " + tree + "/etc/clamd.conf");
}

ScanCost scanLists(const std::vector<std::string>& client, const std::vector<std::string>& paths,
                   const std::vector<std::string>& environment, const std::string& scratch) {
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
      run(command, environment);
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

void startDaemon(const std::string& tree, const std::vector<std::string>& environment) {
  if (run({tree + "/sbin/clamd", "-c", tree + "/etc/clamd.conf"}, environment) == 1) {
    throw std::runtime_error("the daemon could not be started");
  }
}

void stopDaemon(const std::string& tree) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketOf(tree).c_str(), sizeof address.sun_path - 1);
  const int endpoint = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(endpoint, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    [[maybe_unused]] ssize_t ignored = send(endpoint, "zQUIT", 6, MSG_NOSIGNAL);
    char reply[16];
    // The connection is closed when the daemon ends.
    ignored = read(endpoint, reply, sizeof reply);
  }
  close(endpoint);
}

ScanCost scanWithBareEngine(const std::string& tree, const std::vector<std::string>& paths,
                            const std::vector<std::string>& environment,
                            const std::string& scratch) {
  return scanLists({"/usr/bin/clamdscan", "--config-file=" + tree + "/etc/clamd.conf", "--fdpass"},
                   paths, environment, scratch);
}

ScanCost scanWithTree(const std::string& tree, const std::vector<std::string>& paths,
                      const std::vector<std::string>& environment, const std::string& scratch) {
  return scanLists({tree + "/bin/clamdscan"}, paths, environment, scratch);
}

}  // namespace bench

#include "benchmarks/storm/StormFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "posix/UniqueFd.h"

namespace bench {
namespace {

// In two halves: whole, it would make every scanner hit this program.
const std::string testFile =
    std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";

void writeOne(const std::string& path, const std::string& contents) {
  const quillo::UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (!file || !quillo::writeAll(file.get(), contents)) {
    throw std::runtime_error("cannot write " + path);
  }
}

}  // namespace

std::vector<std::string> stormPaths(const std::string& folder) {
  std::vector<std::string> paths;
  for (int index = 0; index < fileCount; ++index) {
    paths.push_back(folder + "/file" + std::to_string(index));
  }
  return paths;
}

Seconds writeStorm(const std::string& folder) {
  const std::vector<std::string> paths = stormPaths(folder);
  const Seconds begin = now();
  const pid_t writer = fork();
  if (writer == 0) {
    if (setgid(ordinaryUser) != 0 || setuid(ordinaryUser) != 0) {
      _exit(126);
    }
    for (int index = 0; index < fileCount; ++index) {
      const bool infected = index % (fileCount / infectedCount) == 500;
      // Clean files differ from each other, or the engine would know them from its cache.
      std::string contents = infected ? testFile : folder + std::to_string(index);
      if (!infected) {
        contents.resize(1024, 'x');
      }
      writeOne(paths[static_cast<std::size_t>(index)], contents);
    }
    _exit(0);
  }
  if (finish(writer) != 0) {
    throw std::runtime_error("the storm could not be written into " + folder);
  }
  return now() - begin;
}

void makeOrdinaryFolder(const std::string& folder) {
  std::filesystem::create_directories(folder);
  if (chown(folder.c_str(), ordinaryUser, ordinaryUser) != 0) {
    throw std::runtime_error("cannot give away " + folder);
  }
}

void makeWideTree(const std::string& folder, int folders) {
  makeOrdinaryFolder(folder);
  for (int index = 0; index < folders; ++index) {
    const std::string group = folder + "/" + std::to_string(index / 1000);
    if (index % 1000 == 0) {
      makeOrdinaryFolder(group);
    }
    mkdir((group + "/" + std::to_string(index)).c_str(), 0755);
  }
}

void writeFile(const std::string& path, const std::string& contents) {
  writeOne(path, contents);
  if (chown(path.c_str(), ordinaryUser, ordinaryUser) != 0) {
    throw std::runtime_error("cannot give away " + path);
  }
}

}  // namespace bench

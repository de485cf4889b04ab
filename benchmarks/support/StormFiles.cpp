#include "benchmarks/support/StormFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "benchmarks/support/Pause.h"
#include "posix/UniqueFd.h"

namespace bench {
namespace {

// In two halves: whole, it would make every scanner hit this program.
const std::string testFile =
    std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";

void writeOne(const std::string& path, const std::string& contents, Seconds holding = Seconds(0)) {
  const quillo::UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (holding.count() > 0) {
    pauseFor(holding);
  }
  if (!file || !quillo::writeAll(file.get(), contents)) {
    throw std::runtime_error("cannot write " + path);
  }
}

std::string folderOf(const std::string& top, const Storm& storm, int index) {
  constexpr int depth = 10;
  if (storm.folders == 0) {
    return top;
  }
  const int number = index / (storm.files / storm.folders);
  std::string folder = top + "/tree" + std::to_string(number / depth);
  for (int level = 0; level < number % depth; ++level) {
    folder += "/in";
  }
  return folder;
}

void writeAll(const std::string& top, const Storm& storm) {
  constexpr std::size_t size = 1024;
  const int step = storm.files / storm.infected;
  std::string made = top;
  for (int index = 0; index < storm.files; ++index) {
    const std::string folder = folderOf(top, storm, index);
    if (folder != made) {
      mkdir(folder.c_str(), 0755);
      made = folder;
    }
    const bool isInfected = index % step == step / 2;
    // Clean files differ from each other, or the engine would know them from its cache.
    std::string contents = isInfected ? testFile : top + std::to_string(index);
    if (!isInfected) {
      contents.resize(size, 'x');
    }
    writeOne(folder + "/file" + std::to_string(index), contents, storm.holding);
  }
}

}  // namespace

std::string infectedContents(std::size_t bytes) {
  std::string contents = testFile;
  contents.resize(std::max(bytes, contents.size()), '\n');
  return contents;
}

std::vector<std::string> stormPaths(const std::string& folder, const Storm& storm) {
  std::vector<std::string> paths;
  for (int index = 0; index < storm.files; ++index) {
    paths.push_back(folderOf(folder, storm, index) + "/file" + std::to_string(index));
  }
  return paths;
}

Seconds writeStorm(const std::string& folder, const Storm& storm) {
  const Seconds begin = now();
  const pid_t writer = startFork([&] {
    writeAll(folder, storm);
    return 0;
  });
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

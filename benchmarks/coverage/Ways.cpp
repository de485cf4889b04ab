#include "benchmarks/coverage/Ways.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "posix/UniqueFd.h"

namespace bench {
namespace {

// In two halves: whole, it would make every scanner hit this program.
const std::string testFile =
    std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";

constexpr std::size_t longPath = 4000;
constexpr std::size_t longName = 255;
constexpr int deepFolders = 200;

void check(bool went, const std::string& what) {
  if (!went) {
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
  }
}

// Closes with the process alone.
int openFile(const std::string& path, int flags, mode_t mode = 0644) {
  const int file = open(path.c_str(), flags | O_CLOEXEC, mode);
  check(file >= 0, "opening a file");
  return file;
}

void save(const std::string& path, std::string_view contents, mode_t mode = 0644) {
  const quillo::UniqueFd file(openFile(path, O_WRONLY | O_CREAT | O_TRUNC, mode));
  check(quillo::writeAll(file.get(), std::string(contents)), "writing a file");
}

void makeFolder(const std::string& path) {
  check(mkdir(path.c_str(), 0755) == 0, "making a folder");
}

void moveTo(const std::string& from, const std::string& to) {
  check(rename(from.c_str(), to.c_str()) == 0, "renaming");
}

std::string aside(const Scene& scene) { return scene.outside + "/before"; }
std::string place(const Scene& scene) { return scene.inside + "/" + scene.name; }
std::string harmless() { return std::string(testFile.size(), 'x'); }

void saveAside(const Scene& scene) { saveTestFile(aside(scene)); }
void saveHarmless(const Scene& scene) { save(place(scene), harmless()); }

void write(const Scene& scene) { saveTestFile(place(scene)); }

void writePrivate(const Scene& scene) { save(place(scene), testFile, 0600); }

void downloadAndRename(const Scene& scene) {
  const std::string part = scene.inside + "/part";
  saveTestFile(part);
  moveTo(part, place(scene));
}

void moveIn(const Scene& scene) { moveTo(aside(scene), place(scene)); }

void prepareExchange(const Scene& scene) {
  saveAside(scene);
  saveHarmless(scene);
}

void exchange(const Scene& scene) {
  check(renameat2(AT_FDCWD, aside(scene).c_str(), AT_FDCWD, place(scene).c_str(),
                  RENAME_EXCHANGE) == 0,
        "exchanging");
}

void prepareFolder(const Scene& scene) {
  makeFolder(scene.outside + "/folder");
  saveTestFile(scene.outside + "/folder/" + scene.name);
}

void moveFolderIn(const Scene& scene) {
  moveTo(scene.outside + "/folder", scene.inside + "/folder");
}

void hardLink(const Scene& scene) {
  check(link(aside(scene).c_str(), place(scene).c_str()) == 0, "linking");
}

// Not closed here; what is mapped keeps its file open, too.
void* mapped(int file) {
  void* memory = mmap(nullptr, testFile.size(), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  check(memory != MAP_FAILED, "mapping");
  return memory;
}

void writeByMapping(const Scene& scene) {
  const int file = openFile(place(scene), O_RDWR | O_CREAT | O_TRUNC);
  check(ftruncate(file, static_cast<off_t>(testFile.size())) == 0, "enlarging a file");
  void* const memory = mapped(file);
  std::memcpy(memory, testFile.data(), testFile.size());
  munmap(memory, testFile.size());
  close(file);
}

void writeAndStayMapped(const Scene& scene) {
  const int file = openFile(place(scene), O_RDWR);
  std::memcpy(mapped(file), testFile.data(), testFile.size());
}

void writeAndKeepOpen(const Scene& scene) {
  const int file = openFile(place(scene), O_WRONLY);
  check(quillo::writeAll(file, testFile), "writing a file");
}

void writeInNewFolders(const Scene& scene) {
  std::string folder = scene.inside;
  for (const char* name : {"/brand", "/new", "/and", "/nested", "/folders"}) {
    folder += name;
    makeFolder(folder);
  }
  saveTestFile(folder + "/" + scene.name);
}

void writeLongName(const Scene& scene) {
  saveTestFile(scene.inside + "/" + std::string(longName - scene.name.size(), 'n') + scene.name);
}

// The folder in which a file of that name has a path of 4,000 bytes.
std::string longFolder(const Scene& scene) {
  std::string folder = scene.inside;
  const std::size_t length = longPath - scene.name.size() - 1;
  while (folder.size() < length) {
    // A shorter one than the longest, so that what is left is enough for one more.
    const std::size_t left = length - folder.size() - 1;
    folder += "/" + std::string(left > longName ? longName - 1 : left, 'p');
  }
  return folder;
}

void makeFoldersTo(const std::string& inside, const std::string& folder) {
  for (std::size_t slash = inside.size(); slash != std::string::npos;) {
    slash = folder.find('/', slash + 1);
    makeFolder(folder.substr(0, slash));
  }
}

void prepareLongPath(const Scene& scene) { makeFoldersTo(scene.inside, longFolder(scene)); }
void writeLongPath(const Scene& scene) { saveTestFile(longFolder(scene) + "/" + scene.name); }

std::string deepFolder(const Scene& scene) {
  std::string folder = scene.inside;
  for (int depth = 0; depth < deepFolders; ++depth) {
    folder += "/d";
  }
  return folder;
}

void prepareDeep(const Scene& scene) { makeFoldersTo(scene.inside, deepFolder(scene)); }
void writeDeep(const Scene& scene) { saveTestFile(deepFolder(scene) + "/" + scene.name); }

void writeInvalidName(const Scene& scene) {
  saveTestFile(scene.inside + "/\xff\xfe caf\xe9 " + scene.name);
}

void writeLineBreak(const Scene& scene) {
  saveTestFile(scene.inside + "/first line\n" + scene.name);
}

}  // namespace

void saveTestFile(const std::string& path) { save(path, testFile); }

const Way written{"written", nullptr, write};
const Way renamed{"written under another name, then renamed", nullptr, downloadAndRename};
const Way movedIn{"renamed in", saveAside, moveIn};
const Way writtenPrivately{"written, for its owner alone to read", nullptr, writePrivate};

const std::vector<Way>& ordinaryWays() {
  static const std::vector<Way> ways{
      written,
      renamed,
      movedIn,
      {"exchanged for another (RENAME_EXCHANGE)", prepareExchange, exchange},
      {"in a folder that is moved in", prepareFolder, moveFolderIn},
      {"hard link", saveAside, hardLink},
      {"written by mmap, then closed", nullptr, writeByMapping},
      {"changed by mmap and kept mapped", saveHarmless, writeAndStayMapped},
      {"changed and kept open", saveHarmless, writeAndKeepOpen},
      {"in brand-new nested folders", nullptr, writeInNewFolders},
      {"name of 255 bytes", nullptr, writeLongName},
      {"path of 4,000 bytes", prepareLongPath, writeLongPath},
      {"name that is not UTF-8", nullptr, writeInvalidName},
      {"line break in the name", nullptr, writeLineBreak},
      {"200 folders deep", prepareDeep, writeDeep},
  };
  return ways;
}

}  // namespace bench

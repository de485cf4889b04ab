#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace bench {

// Where the EICAR test file of one way comes to be. No other file has this name, nor a name that
// holds it.
struct Scene {
  std::string inside;   // a guarded folder that was there before the watching began
  std::string outside;  // a folder that is not guarded, on the same file system
  std::string name;
};

// One way in which a file comes to be in a guarded folder. Both steps throw std::runtime_error with
// what went wrong. Each runs in a process of its own; that of the second lives until the verdicts
// are in, with whatever it left open.
struct Way {
  const char* title;
  // Before anybody watches; null when there is nothing to prepare.
  void (*prepare)(const Scene& scene);
  void (*act)(const Scene& scene);
};

// Saved and closed, what everybody does, and under another name first, as browsers do.
extern const Way written;
extern const Way renamed;
extern const Way movedIn;
// Those that concern the file system less than the name or the call.
const std::vector<Way>& ordinaryWays();
// Of a file that nobody but who wrote it may read.
extern const Way writtenPrivately;

// What all of them bring about.
void saveTestFile(const std::string& path);

}  // namespace bench

// A scanner program that scans nothing: what it says about a path follows from the first word of
// the file's name. Arguments and report have the form of clamdscan(1); paths come in a list or as
// arguments.
//
//   infected-*     PATH: Eicar-Test-Signature FOUND
//   error-*        ERROR: Can't access file PATH
//   split-*        as clean, in two pieces, the second when the first has been read
//   garbage-*      a line that is not UTF-8, when everything before it has been read
//   silent-*       nothing
//   daemon-*       what an older engine says when the daemon is gone; ends with status 2
//   unreachable-*  what a current one says; ends with status 2
//   arguments-*    its own arguments, one a line
//   status2-*      clean, but ends with status 2
//   crash-*        ends by SIGKILL at once
//   hang-*         writes its process id to PATH.pid and never ends
//   many-*         a thousand lines
//   anything else  PATH: OK
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Waiting.h"

namespace {

struct Verdict {
  int infected = 0;
  int errors = 0;
  bool summary = true;
};

void say(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(STDOUT_FILENO, text.data(), text.size());
    if (count <= 0) {
      _exit(99);
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

void waitUntilRead() {
  quillo::awaitThat([] {
    int unread = 0;
    return ioctl(STDOUT_FILENO, FIONREAD, &unread) != 0 || unread == 0;
  });
}

void hang(const std::string& path) {
  std::ofstream(path + ".pid.new") << getpid() << std::flush;
  std::rename((path + ".pid.new").c_str(), (path + ".pid").c_str());
  for (;;) {
    pause();
  }
}

void judge(const std::string& path, const std::vector<std::string>& arguments, Verdict& verdict) {
  const std::string name = path.substr(path.rfind('/') + 1);
  const std::string word = name.substr(0, name.find('-'));
  if (word == "infected") {
    say(path + ": Eicar-Test-Signature FOUND\n");
    ++verdict.infected;
  } else if (word == "error") {
    say("ERROR: Can't access file " + path + "\n");
    ++verdict.errors;
  } else if (word == "split") {
    say(path.substr(0, path.size() / 2));
    waitUntilRead();
    say(path.substr(path.size() / 2) + ": OK\n");
  } else if (word == "garbage") {
    waitUntilRead();
    say(path + "\xFF\xFE: OK\n");
    waitUntilRead();
  } else if (word == "silent") {
    verdict.summary = false;
  } else if (word == "daemon") {
    say("WARNING: Can't connect to clamd.\n");
    ++verdict.errors;
  } else if (word == "unreachable") {
    say("ERROR: Could not connect to clamd on LocalSocket /nowhere: No such file or directory\n");
    ++verdict.errors;
  } else if (word == "arguments") {
    for (const std::string& argument : arguments) {
      say("argument " + argument + "\n");
    }
  } else if (word == "status2") {
    ++verdict.errors;
  } else if (word == "crash") {
    raise(SIGKILL);
  } else if (word == "hang") {
    hang(path);
  } else if (word == "many") {
    for (int line = 0; line < 1000; ++line) {
      say(path + " part " + std::to_string(line) + ": OK\n");
    }
  } else {
    say(path + ": OK\n");
  }
}

}  // namespace

int main(int count, char** values) {
  const std::vector<std::string> arguments(values + 1, values + count);
  constexpr std::string_view option = "--file-list=";
  Verdict verdict;
  for (const std::string& argument : arguments) {
    if (argument.starts_with("/")) {
      judge(argument, arguments, verdict);
    } else if (argument.starts_with(option)) {
      std::ifstream list(argument.substr(option.size()));
      for (std::string path; std::getline(list, path);) {
        judge(path, arguments, verdict);
      }
    }
  }
  if (verdict.summary) {
    say("\n----------- SCAN SUMMARY -----------\nInfected files: " +
        std::to_string(verdict.infected) + "\nTime: 0.001 sec (0 m 0 s)\n");
  }
  return verdict.infected > 0 ? 1 : verdict.errors > 0 ? 2 : 0;
}

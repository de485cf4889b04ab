#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "app/vantrel/Commands.h"
#include "app/vantrel/MainWindowProgram.h"
#include "companion/StartRequest.h"
#include "posix/Version.h"

namespace quillo {
namespace {

constexpr int misuse = 2;

int run(int argc, char** argv) {
  const StartRequest request = StartRequest::of({argv + 1, argv + argc});
  switch (request.kind) {
    case StartRequest::Kind::help:
      return printText(commands().help());
    case StartRequest::Kind::version:
      return printVersion("vantrel");
    case StartRequest::Kind::command:
      return commands().run(request.command, request.words, std::cout, std::cerr);
    case StartRequest::Kind::misused:
      std::cerr << "vantrel: \"" << request.word << "\" is not understood here.\n"
                << commands().help();
      return misuse;
    case StartRequest::Kind::window:
    case StartRequest::Kind::service:
      break;
  }
  return runMainWindow(argv, request);
}

}  // namespace
}  // namespace quillo

int main(int argc, char** argv) {
  try {
    return quillo::run(argc, argv);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "vantrel: %s\n", failure.what());
    return 1;
  }
}

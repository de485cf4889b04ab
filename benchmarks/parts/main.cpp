// Measures the parts through their public operations, with Google Benchmark. See ./bench.

#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace {

// Files of its own, in memory and gone with it.
bool takeOwnFolder() {
  return unshare(CLONE_NEWNS) == 0 &&
         mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777,nr_inodes=0") == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (!takeOwnFolder()) {
    std::fprintf(stderr, "no /tmp of its own: %s\n", std::strerror(errno));
    return EXIT_FAILURE;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return EXIT_FAILURE;
  }
  try {
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
  benchmark::Shutdown();
}

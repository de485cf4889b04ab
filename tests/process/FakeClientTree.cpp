#include "tests/process/FakeClientTree.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "posix/ChildProcess.h"
#include "tools/clamdscan/Front.h"

namespace quillo::front {
namespace {

constexpr char client[] = R"(#!/bin/sh
here=${0%/*}
printf '%s\n' "$*" >> "$here/calls"
status=0
list=
for word; do
  case $word in --file-list=*) list=${word#*=} ;; esac
done

say() {
  case ${1##*/} in
    infected*) echo "$1: Fake.Name FOUND"; status=1 ;;
    limit*) echo "$1: Heuristics.Limits.Exceeded.MaxScanTime FOUND"; status=1 ;;
    error*) echo "$1: Failed to open file"; status=2 ;;
    refused* | gone*) echo "ERROR: Can't access file $1"; status=2 ;;
    noreply*) echo "$1: no reply from clamd"; status=2 ;;
    silent*) ;;
    crash*) kill -SEGV $$ ;;
    hang*) exec 9> "$here/lifeline"; echo started >&9; read -r word < "$here/never" ;;
    busy*) turns=0; while [ $turns -lt 400 ]; do turns=$((turns + 1)); /bin/true; done
           echo "$1: OK" ;;
    split*) printf '%s: Fake' "$1"; /bin/true; printf '.Name FOUND\n'; status=1 ;;
    garbage*) printf '\377\376 odd\n%s: OK\n' "$1" ;;
    forged*) printf '/etc/passwd: Forged FOUND\n%s: OK\n' "$1" ;;
    lost*) echo "ERROR: Could not connect to clamd on LocalSocket /s: Connection refused"
           status=2 ;;
    *) echo "$1: OK" ;;
  esac
}

if [ "$word" = - ]; then
  read -r text
  case $text in
    infected) echo "fd[9]: Fake.Name FOUND"; status=1 ;;
    silent) ;;
    *) echo "stream: OK" ;;
  esac
elif [ -n "$list" ]; then
  while read -r path; do say "$path"; done < "$list"
else
  for path in "$word"/*; do
    case $path in */infected* | */forged*) say "$path" ;; */gone*) rm "$path"; say "$path" ;; esac
  done
  [ $status = 0 ] && echo "$word: OK"
fi
exit $status
)";

}  // namespace

FakeClientTree::FakeClientTree() {
  tree_.file("etc/clamd.conf", "MaxFileSize 1K\nLocalSocket " + socket() + "\n");
  tree_.file("clamdscan", client, 0755);
  tree_.link("bin/clamdscan", QUILLO_BINARY_DIR "/resources/engine-tools/clamdscan");
  mkfifo(tree_.at("lifeline").c_str(), 0600);
  mkfifo(tree_.at("never").c_str(), 0600);
  configure("RealClient " + tree_.at("clamdscan") + "\n");
}

void FakeClientTree::configure(const std::string& lines) const {
  tree_.file("etc/front.conf", lines);
}

FrontRun FakeClientTree::run(const std::vector<std::string>& words) const {
  FrontRun result;
  ChildProcess front({program(), words});
  result.status = front.waitUntilExit([&](std::string_view chunk) {
    result.output += chunk;
    return true;
  });
  return result;
}

std::vector<std::string> FakeClientTree::listWords(const std::vector<std::string>& paths) const {
  std::string list;
  for (const std::string& path : paths) {
    list += path + "\n";
  }
  return {"--stdout", "--no-summary", "--file-list=" + tree_.file("list", list)};
}

FrontRun FakeClientTree::scan(const std::vector<std::string>& paths,
                              const std::vector<std::string>& words) const {
  std::vector<std::string> all = words;
  for (const std::string& word : listWords(paths)) {
    all.push_back(word);
  }
  return run(all);
}

FrontRun FakeClientTree::scanWithPatience(const std::vector<std::string>& paths,
                                          Clock::Duration patience) const {
  const UniqueFd output(memfd_create("report", MFD_CLOEXEC));
  const EngineTree tree = EngineTree::at(tree_.path());
  const CommandLine asked = CommandLine::parse(listWords(paths));
  Report report({output.get(), output.get()});
  SystemClock clock;
  FrontRun result;
  result.status = Front(tree, asked, report, clock, patience).run();
  std::array<char, 65536> bytes;
  const ssize_t count = pread(output.get(), bytes.data(), bytes.size(), 0);
  result.output.assign(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  return result;
}

}  // namespace quillo::front

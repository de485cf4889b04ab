#include "tests/process/FakeClientTree.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "posix/ChildProcess.h"
#include "tools/clamdscan/ClientWrapper.h"

namespace quillo::wrapper {
namespace {

constexpr char client[] = R"(#!/bin/sh
here=${0%/*}
printf '%s\n' "$*" >> "$here/calls"
echo client
for word; do
  case ${word##*/} in
    hang*) exec 9> "$here/lifeline"; echo started >&9; read -r word < "$here/never" ;;
  esac
done
)";

}  // namespace

FakeClientTree::FakeClientTree() {
  configureDaemon("MaxFileSize 1K\nLocalSocket " + socket() + "\n");
  tree_.write("clamdscan", client, 0755);
  tree_.link("bin/clamdscan", QUILLO_BINARY_DIR "/resources/engine-tools/clamdscan");
  mkfifo(tree_.at("lifeline").c_str(), 0600);
  mkfifo(tree_.at("never").c_str(), 0600);
  configure("RealClient " + tree_.at("clamdscan") + "\n");
  daemon(SessionClamd::truth);
}

std::string FakeClientTree::file(const std::string& name) const {
  return files_.write(name, name.substr(name.rfind('/') + 1));
}

void FakeClientTree::configureDaemon(const std::string& lines) const {
  tree_.write("etc/clamd.conf", lines);
}

void FakeClientTree::addToDaemon(const std::string& lines) const {
  configureDaemon(TemporaryFolder::read(configuration()) + lines);
}

void FakeClientTree::configure(const std::string& lines) const {
  tree_.write("etc/front.conf", lines);
}

SessionClamd& FakeClientTree::daemon(SessionClamd::Script script, SessionClamd::Manners manners) {
  daemon_.reset();
  daemon_ = std::make_unique<SessionClamd>(socket(), std::move(script), manners);
  return *daemon_;
}

WrapperRun FakeClientTree::run(const std::vector<std::string>& words) const {
  WrapperRun result;
  ChildProcess wrapper({program(), words});
  result.status = wrapper.waitUntilExit([&](std::string_view chunk) {
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
  return {"--stdout", "--no-summary", "--file-list=" + tree_.write("list", list)};
}

WrapperRun FakeClientTree::scan(const std::vector<std::string>& paths,
                                const std::vector<std::string>& words) const {
  std::vector<std::string> all = words;
  for (const std::string& word : listWords(paths)) {
    all.push_back(word);
  }
  return run(all);
}

WrapperRun FakeClientTree::scanWithPatience(const std::vector<std::string>& paths,
                                            Clock::Duration patience) const {
  const UniqueFd output(memfd_create("report", MFD_CLOEXEC));
  const TreeSettings tree = TreeSettings::at(tree_.path());
  const CommandLine asked = CommandLine::parse(listWords(paths));
  Report report({output.get(), output.get()});
  SystemClock clock;
  WrapperRun result;
  result.status = ClientWrapper(tree, asked, report, clock, Starter(-1, -1), patience).run();
  std::array<char, 65536> bytes;
  const ssize_t count = pread(output.get(), bytes.data(), bytes.size(), 0);
  result.output.assign(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  return result;
}

}  // namespace quillo::wrapper

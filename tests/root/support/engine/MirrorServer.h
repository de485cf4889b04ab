#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "tests/support/LocalSocket.h"
#include "tests/support/Threads.h"

namespace quillo::tests {

// A web server for definitions on the loopback interface, with one file; it knows GET and
// If-Modified-Since (RFC 9110). Any thread.
class MirrorServer {
 public:
  MirrorServer();
  ~MirrorServer();
  MirrorServer(const MirrorServer&) = delete;
  MirrorServer& operator=(const MirrorServer&) = delete;

  // Of the file, whatever its name.
  std::string url(const std::string& name) const;

  // What it has from now on, written so many hours ago.
  void serve(const std::string& content, int hoursAgo = 1);
  // "403 Forbidden" to every request from now on.
  void refuseWith(const std::string& status);
  // Requests wait for their answer between these two.
  void hold();
  void release();
  // Waits until so many requests have come; false at the deadline.
  bool awaitRequests(int count);

 private:
  void acceptAll();
  void answer(int connection);
  std::string reply(const std::string& request) const;

  const UniqueFd listener_;
  StopSignal stop_;
  int port_ = 0;
  mutable std::mutex lock_;
  std::condition_variable changed_;
  std::string content_;
  std::string refusal_;
  long written_ = 0;
  int requests_ = 0;
  bool held_ = false;
  JoinedThreads answers_;
  JoinedThreads acceptor_;
};

}  // namespace quillo::tests

#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "companion/selftest/SelfTest.h"

namespace quillo {

class Application;
class Page;
class ThreadStarter;

struct SelfTestServices {
  Application& application;
  Clock& clock;
  LocalizedStrings& localizedStrings;
  ThreadStarter& threads;
  SelfTestEvidence& evidence;
  // Where what is found is moved to, as the preferences have it now.
  std::function<std::vector<std::string>()> moveFolders;
  // Starts the agent; returns false where the desktop knows of none. Left out where nothing can.
  std::function<bool()> startAgent = {};
};

// The self-test on a page: the table "testSteps", the label "testOutcome", the buttons "testStart",
// "testStop", and "testStartAgent" where no agent runs. Main thread.
class SelfTestView {
 public:
  SelfTestView(Page& page, const SelfTestServices& services);
  // Breaks off what runs; its file is removed.
  ~SelfTestView();
  SelfTestView(const SelfTestView&) = delete;
  SelfTestView& operator=(const SelfTestView&) = delete;

  // Starts it, unless it runs.
  void start();
  void stop();
  bool isRunning() const { return test_ && !test_->isOver(); }

 private:
  struct Rows;

  void step();
  void show();
  void startAgent();

  Page& page_;
  const SelfTestServices services_;
  const std::shared_ptr<Rows> rows_;
  std::unique_ptr<SelfTest> test_;
  // False when the thread that beats the time is to end.
  std::shared_ptr<std::atomic<bool>> beats_;
};

}  // namespace quillo

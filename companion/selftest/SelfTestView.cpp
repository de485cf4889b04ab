#include "companion/selftest/SelfTestView.h"

#include <array>
#include <system_error>

#include "platform/Application.h"
#include "platform/Page.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

using State = SelfTest::State;

constexpr std::array<const char*, 5> stepKeys = {"SELFTEST_STEP_AGENT", "SELFTEST_STEP_WRITTEN",
                                                 "SELFTEST_STEP_NOTICED", "SELFTEST_STEP_FOUND",
                                                 "SELFTEST_STEP_REMOVED"};

const char* keyOf(const SelfTest& test) {
  switch (test.outcome()) {
    case SelfTest::Outcome::works:
      return test.leavesFoldersOut() ? "SELFTEST_END_WORKS_THERE" : "SELFTEST_END_WORKS";
    case SelfTest::Outcome::fails:
      return "SELFTEST_END_FAILS";
    case SelfTest::Outcome::cannotTell:
      return "SELFTEST_END_UNKNOWN";
    default:
      return "SELFTEST_GOING";
  }
}

}  // namespace

struct SelfTestView::Rows final : TableRows {
  explicit Rows(LocalizedStrings& given) : strings(given) {}
  std::size_t count() override { return results.size(); }
  Row row(std::size_t row) override {
    const SelfTest::Result& result = results.at(row);
    const Sign sign = result.state == State::done     ? Sign::good
                      : result.state == State::failed ? Sign::warning
                                                      : Sign::none;
    const std::string words = result.state == State::going
                                  ? strings.stringForKey("SELFTEST_GOING", "")
                                  : result.words.in(strings);
    return {{strings.stringForKey(stepKeys.at(static_cast<std::size_t>(result.step)), ""), words},
            sign};
  }
  LocalizedStrings& strings;
  std::vector<SelfTest::Result> results;
};

SelfTestView::SelfTestView(Page& page, const SelfTestServices& services)
    : page_(page), services_(services), rows_(std::make_shared<Rows>(services.localizedStrings)) {
  LocalizedStrings& strings = services_.localizedStrings;
  page_.setRows(
      "testSteps",
      {strings.stringForKey("SELFTEST_STEP", ""), strings.stringForKey("SELFTEST_RESULT", "")},
      rows_);
  page_.onAction("testStart", [this] { start(); });
  page_.onAction("testStop", [this] { stop(); });
  page_.onAction("testStartAgent", [this] { startAgent(); });
  show();
}

SelfTestView::~SelfTestView() {
  if (beats_) {
    *beats_ = false;
  }
}

void SelfTestView::start() {
  if (isRunning()) {
    return;
  }
  test_ = std::make_unique<SelfTest>(services_.clock, services_.evidence, services_.moveFolders());
  beats_ = std::make_shared<std::atomic<bool>>(true);
  const auto beat = [this, beats = beats_, &clock = services_.clock,
                     &application = services_.application] {
    while (*beats) {
      application.performOnMainThread([this, beats] {
        if (*beats) {
          step();
        }
      });
      clock.sleepFor(SelfTest::pause);
    }
  };
  try {
    services_.threads.detachNewThread("selfTest", beat);
  } catch (const std::system_error&) {
    test_->cancel();
  }
  show();
}

// The test begins anew: one that goes on gives an agent less time than it may need.
void SelfTestView::startAgent() {
  stop();
  if (services_.startAgent()) {
    start();
  } else {
    page_.setText("testOutcome",
                  services_.localizedStrings.stringForKey("SELFTEST_CANNOT_START", ""));
  }
}

void SelfTestView::stop() {
  if (isRunning()) {
    test_->cancel();
    *beats_ = false;
    show();
  }
}

void SelfTestView::step() {
  test_->step();
  if (test_->isOver()) {
    *beats_ = false;
  }
  show();
}

void SelfTestView::show() {
  const auto before = rows_->results.size();
  rows_->results = test_ ? test_->results() : std::vector<SelfTest::Result>();
  if (test_ || before > 0) {
    page_.rowsChanged("testSteps");
  }
  page_.setText("testOutcome", services_.localizedStrings.stringForKey(
                                   test_ ? keyOf(*test_) : "SELFTEST_BEFORE", ""));
  page_.setVisible("testStartAgent", services_.startAgent && test_ && test_->lacksAgent());
  page_.setEnabled("testStart", !isRunning());
  page_.setEnabled("testStop", isRunning());
}

}  // namespace quillo

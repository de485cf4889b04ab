#include "companion/overview/LaterCounts.h"

#include <exception>
#include <system_error>
#include <utility>

#include "platform/Application.h"
#include "posix/ThreadStarter.h"

namespace quillo {

LaterCounts::LaterCounts(RecentCounts& counts, Application& application, ThreadStarter& threads,
                         Done done)
    : counts_(counts), application_(application), threads_(threads), done_(std::move(done)) {}

void LaterCounts::begin(std::chrono::system_clock::time_point since) {
  if (isCounting_) {
    next_ = since;
    return;
  }
  isCounting_ = true;
  const auto body = [this, life = std::weak_ptr<const bool>(life_), since, &counts = counts_,
                     &application = application_] {
    RecentCounts::Counts result;
    try {
      result = counts.countsSince(since);
    } catch (const std::exception& failure) {
      result.problem = failure.what();
    }
    application.performOnMainThread([this, life, result] {
      if (!life.expired()) {
        end(result);
      }
    });
  };
  try {
    threads_.detachNewThread("counts", body);
  } catch (const std::system_error&) {
    body();  // late is better than never
  }
}

void LaterCounts::end(const RecentCounts::Counts& counts) {
  isCounting_ = false;
  done_(counts);
  if (const auto next = std::exchange(next_, std::nullopt)) {
    begin(*next);
  }
}

}  // namespace quillo

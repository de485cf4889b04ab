#include "companion/quarantine/QuarantineWork.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/Application.h"
#include "posix/ThreadStarter.h"

namespace quillo {
namespace {

bool areAlike(const QuarantinedFile& a, const QuarantinedFile& b) {
  return a.name == b.name && a.identity == b.identity && a.origin == b.origin &&
         a.record.check == b.record.check && a.record.checkedWith == b.record.checkedWith &&
         a.record.threat == b.record.threat && a.record.origin == b.record.origin;
}

}  // namespace

bool areAlike(const QuarantineStore::Listing& a, const QuarantineStore::Listing& b) {
  return a.problem == b.problem && a.error == b.error && a.recordsError == b.recordsError &&
         std::equal(a.files.begin(), a.files.end(), b.files.begin(), b.files.end(),
                    [](const QuarantinedFile& one, const QuarantinedFile& two) {
                      return areAlike(one, two);
                    });
}

void QuarantineWork::start(const std::string& words, Work work) {
  if (isBusy_) {
    listener_.begins(words);
    waiting_.push_back({words, std::move(work)});
  } else {
    run({words, std::move(work)});
  }
}

void QuarantineWork::read(const std::string& words) {
  if (isBusy_) {
    isStale_ = true;
  } else {
    run({words, {}});
  }
}

// The list is read on the same thread when the work is done, so that what is shown is true.
void QuarantineWork::run(Job job) {
  isBusy_ = true;
  const bool isQuiet = job.words.empty();
  if (!isQuiet) {
    listener_.begins(job.words);
  }
  folder_ = services_.folder();
  const auto body = [weak = weak_from_this(), services = services_, folder = folder_, isQuiet,
                     work = std::move(job.work)] {
    const QuarantineStore store(folder, services.clock, services.allow);
    const auto done = std::make_shared<QuarantineDone>();
    done->isQuiet = isQuiet;
    try {
      if (work) {
        work(store, *done);
      }
      done->listing = store.list();
    } catch (const std::exception& failure) {
      done->listing.problem = QuarantineStore::FolderProblem::failed;
      done->summary = failure.what();
    }
    services.application.performOnMainThread([weak, done] {
      if (const auto self = weak.lock()) {
        self->end(std::move(*done));
      }
    });
  };
  try {
    services_.threads.detachNewThread("quarantine", body);
  } catch (const std::exception& failure) {
    QuarantineDone done;
    done.isListed = false;
    done.summary = failure.what();
    end(std::move(done));
  }
}

void QuarantineWork::end(QuarantineDone done) {
  isBusy_ = false;
  listener_.ended(std::move(done));
  if (isBusy_) {
    return;
  }
  if (!waiting_.empty()) {
    Job next = std::move(waiting_.front());
    waiting_.erase(waiting_.begin());
    run(std::move(next));
  } else if (std::exchange(isStale_, false)) {
    read("");
  }
}

}  // namespace quillo

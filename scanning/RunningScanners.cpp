#include "scanning/RunningScanners.h"

#include "posix/ChildProcess.h"

namespace quillo {

RunningScanners::Entry::Entry(RunningScanners& list, ChildProcess& scanner)
    : list_(list), scanner_(scanner) {
  MutexLock hold(list_.lock_);
  list_.scanners_.push_back(&scanner_);
  if (list_.endsEach_) {
    scanner_.endAtOnce();
  }
}

RunningScanners::Entry::~Entry() {
  MutexLock hold(list_.lock_);
  std::erase(list_.scanners_, &scanner_);
}

void RunningScanners::endAll() {
  MutexLock hold(lock_);
  for (ChildProcess* const scanner : scanners_) {
    scanner->endAtOnce();
  }
}

void RunningScanners::endAllForGood() {
  {
    MutexLock hold(lock_);
    endsEach_ = true;
  }
  endAll();
}

}  // namespace quillo

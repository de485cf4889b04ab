#pragma once

namespace quillo {

// Makes one allocation of this thread fail: the one after `successes` that succeed. Only while the
// object lives.
class FailingAllocation {
 public:
  explicit FailingAllocation(int successes);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // Returns true when it has failed by now.
  bool happened() const;
};

}  // namespace quillo

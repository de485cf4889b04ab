#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "companion/quarantine/QuarantineServices.h"

namespace quillo {

// What a thread came to with files in the quarantine.
struct QuarantineDone {
  QuarantineStore::Listing listing;  // as it is behind it
  bool isListed = true;              // false: the list could not be read, and is what it was
  std::string summary;
  std::vector<std::string> report;
  std::vector<QuarantinedFile> folderMissing;  // the folders that they were to go to are gone
  QuarantineStore::Target target;              // to which they were to go
  bool isQuiet = false;                        // only the list was read, and nobody asked for it
};

// Returns true when nobody could see a difference between both. Pure; any thread.
bool areAlike(const QuarantineStore::Listing& a, const QuarantineStore::Listing& b);

// Does one thing after another with the quarantine, each on a thread of its own, and reads the list
// behind it. What it is told to do is done, also while something else is. It may go while a thread
// works, which is then heard of no more. Main thread.
class QuarantineWork : public std::enable_shared_from_this<QuarantineWork> {
 public:
  using Work = std::function<void(const QuarantineStore& store, QuarantineDone& done)>;
  struct Listener {
    // Something begins, or waits, that is to be shown in these words.
    std::function<void(const std::string& words)> begins;
    std::function<void(QuarantineDone done)> ended;
  };

  QuarantineWork(QuarantineServices services, Listener listener)
      : services_(std::move(services)), listener_(std::move(listener)) {}

  void start(const std::string& words, Work work);
  // Reads the list, quietly without words; once more, quietly, if something is being done already.
  void read(const std::string& words);
  // Returns the quarantine folder as it was when the latest of these began.
  const std::string& folder() const { return folder_; }

 private:
  struct Job {
    std::string words;
    Work work;
  };

  void run(Job job);
  void end(QuarantineDone done);

  const QuarantineServices services_;
  const Listener listener_;
  std::string folder_;
  bool isBusy_ = false;
  bool isStale_ = false;      // the list has news since it began to be read
  std::vector<Job> waiting_;  // in their order
};

}  // namespace quillo

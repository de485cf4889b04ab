#include "companion/results/HistorySearch.h"

#include <system_error>
#include <utility>

#include "platform/Application.h"
#include "posix/ThreadStarter.h"

namespace quillo {

HistorySearch::HistorySearch(std::string folder, Application& application, ThreadStarter& threads)
    : folder_(std::move(folder)), application_(application), threads_(threads) {}

HistorySearch::~HistorySearch() { giveUp(); }

void HistorySearch::giveUp() {
  if (search_) {
    search_->isWanted = false;
    search_.reset();
  }
}

void HistorySearch::begin(const HistoryFilter& filter, Done done) {
  run([filter](HistoryReader& reader, const GoesOn& goesOn,
               Found& found) { found.selection = reader.select(filter, goesOn); },
      std::move(done));
}

void HistorySearch::begin(const BusyQuestion& question, Done done) {
  run(
      [question](HistoryReader& reader, const GoesOn&, Found& found) {
        found.folders = question.byDay ? reader.busyFolders(question.since, question.most)
                                       : reader.busiestFolders(question.since, question.most);
      },
      std::move(done));
}

void HistorySearch::run(Read read, Done done) {
  giveUp();
  search_ = std::make_shared<Search>();
  const auto body = [this, search = search_, folder = folder_, read = std::move(read),
                     &application = application_, done = std::move(done)] {
    HistoryReader reader(folder);
    Found found;
    read(
        reader, [&search] { return search->isWanted.load(); }, found);
    found.state = reader.state();
    found.reason = reader.reason();
    application.performOnMainThread([this, search, done, found = std::move(found)] {
      // Of an object that is gone, nothing is wanted.
      if (search->isWanted) {
        search_.reset();
        done(found);
      }
    });
  };
  try {
    threads_.detachNewThread("search", body);
  } catch (const std::system_error&) {
    body();  // late is better than never
  }
}

}  // namespace quillo

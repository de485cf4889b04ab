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
  giveUp();
  search_ = std::make_shared<Search>();
  const auto run = [search = search_, folder = folder_, filter, &application = application_,
                    done = std::move(done)] {
    HistoryReader reader(folder);
    Found found;
    found.selection = reader.select(filter, [&search] { return search->isWanted.load(); });
    found.state = reader.state();
    found.reason = reader.reason();
    application.performOnMainThread([search, done, found = std::move(found)] {
      if (search->isWanted) {
        done(found);
      }
    });
  };
  try {
    threads_.detachNewThread("search", run);
  } catch (const std::system_error&) {
    run();  // late is better than never
  }
}

}  // namespace quillo

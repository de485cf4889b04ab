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
    HistorySelection chosen = reader.select(filter, [&search] { return search->isWanted.load(); });
    application.performOnMainThread([search, done, chosen = std::move(chosen)] {
      if (search->isWanted) {
        done(chosen);
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

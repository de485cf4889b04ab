#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/MetadataQuery.h"

namespace quillo {

// A query that a test answers. Its calls stay readable when it is gone.
class FakeMetadataQuery final : public MetadataQuery {
 public:
  using Calls = std::vector<std::string>;

  explicit FakeMetadataQuery(std::shared_ptr<Calls> calls) : calls_(std::move(calls)) {}
  ~FakeMetadataQuery() override { calls_->push_back("gone"); }

  void addObserver(const std::string& name, Observer observer) override {
    calls_->push_back("observe " + name);
    observers_[name] = std::move(observer);
  }
  void setSearchScope(const std::string& folder) override { calls_->push_back("scope " + folder); }
  void execute(unsigned int options) override {
    calls_->push_back("execute " + std::to_string(options));
  }
  void stop() override { calls_->push_back("stop"); }
  void disableUpdates() override { calls_->push_back("disable"); }
  void enableUpdates() override { calls_->push_back("enable"); }
  bool isGatheringComplete() const override { return complete; }

  void report(const MetadataNotification& notification) {
    observers_.at(notification.name)(notification);
  }

  bool complete = false;

 private:
  const std::shared_ptr<Calls> calls_;
  std::map<std::string, Observer> observers_;
};

class FakeMetadataQueries final : public MetadataQueryService {
 public:
  std::unique_ptr<MetadataQuery> create(const std::string& queryText) override {
    calls->push_back("create " + queryText);
    if (refuses) {
      return nullptr;
    }
    auto query = std::make_unique<FakeMetadataQuery>(calls);
    last = query.get();
    return query;
  }
  // What was done with queries since the last time.
  FakeMetadataQuery::Calls takeCalls() { return std::exchange(*calls, {}); }

  bool refuses = false;
  FakeMetadataQuery* last = nullptr;
  const std::shared_ptr<FakeMetadataQuery::Calls> calls =
      std::make_shared<FakeMetadataQuery::Calls>();
};

}  // namespace quillo

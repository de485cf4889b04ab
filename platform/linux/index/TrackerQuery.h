#pragma once

#include <QDBusConnection>
#include <QObject>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/MetadataQuery.h"
#include "platform/linux/index/TrackerEndpoint.h"

namespace quillo {

// The text of a query for everything but what matches one pattern, as metadata queries are written:
// "(kMDItemFSName != 'PATTERN'c)". Pure; any thread.
class MetadataExclusion {
 public:
  // Returns nothing for any other text.
  static std::optional<MetadataExclusion> parse(const std::string& queryText);
  // Returns true for a path that is left out. "*" and "?" also stand for a "/".
  bool leavesOut(const std::string& path) const;

 private:
  MetadataExclusion(std::string pattern, bool anyCase)
      : pattern_(std::move(pattern)), anyCase_(anyCase) {}

  std::string pattern_;
  bool anyCase_;
};

// A query to the index that Tracker's file miner keeps (tracker-miner-fs(1), TinySPARQL). An item
// is a file or folder; its dates are nfo:fileLastAccessed and nfo:fileLastModified, in seconds.
// The miner indexes only what its user has it index. One that starts later is found.
class TrackerQuery final : public QObject, public MetadataQuery {
 public:
  using Report = std::function<void(const std::string& problem)>;

  TrackerQuery(const QDBusConnection& bus, MetadataExclusion exclusion, Report report);
  ~TrackerQuery() override;

  void addObserver(const std::string& name, Observer observer) override;
  void setSearchScope(const std::string& folder) override;
  void execute(unsigned int options) override;
  void stop() override;
  void disableUpdates() override { ++disabled_; }
  void enableUpdates() override;
  bool isGatheringComplete() const override { return isGatheringComplete_; }

 private:
  using Resources = std::set<int>;

  void gather();
  void finishGathering(const std::string& problem);
  void noteChange(const TrackerEndpoint::Change& change);
  void askForChanges();
  void takeChanges(const std::vector<TrackerEndpoint::Row>& rows, const Resources& added);
  bool isInScope(const std::string& path) const;
  void notifyUpdates();
  void notify(const MetadataNotification& notification);

  const MetadataExclusion exclusion_;
  const Report report_;
  std::map<std::string, Observer> observers_;
  std::string scope_;
  TrackerEndpoint endpoint_;
  // Raised when it stops: what was asked before is answered in vain.
  int run_ = 0;
  bool isRunning_ = false;
  bool isGathering_ = false;
  bool isGatheringComplete_ = false;
  bool willAsk_ = false;
  bool isAsking_ = false;
  int disabled_ = 0;
  // What changed and has not been asked for yet.
  Resources added_;
  Resources changed_;
  // What has been answered and not been passed on yet.
  MetadataNotification update_{metadataQueryDidUpdate};
};

class TrackerQueries final : public MetadataQueryService {
 public:
  TrackerQueries(const QDBusConnection& sessionBus, TrackerQuery::Report report)
      : bus_(sessionBus), report_(std::move(report)) {}

  std::unique_ptr<MetadataQuery> create(const std::string& queryText) override;

 private:
  const QDBusConnection bus_;
  const TrackerQuery::Report report_;
};

}  // namespace quillo

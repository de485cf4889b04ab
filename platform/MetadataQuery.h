#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillo {

// What the desktop's index of files knows of one of them.
struct MetadataItem {
  using Date = std::chrono::system_clock::time_point;

  std::optional<std::string> path;
  std::optional<Date> lastUsedDate;
  std::optional<Date> contentChangeDate;
};

// What a query reports. Only the last of the names below comes with items.
struct MetadataNotification {
  std::string name;
  std::vector<MetadataItem> addedItems = {};
  std::vector<MetadataItem> changedItems = {};
};

inline constexpr const char* metadataQueryDidFinish = "kMDQueryDidFinishNotification";
inline constexpr const char* metadataQueryProgress = "kMDQueryProgressNotification";
inline constexpr const char* metadataQueryDidUpdate = "kMDQueryDidUpdateNotification";

// A question to the desktop's index of files, answered once (the gathering) and then kept up to
// date. Main thread, where the observers are called as well. Ends with the object.
class MetadataQuery {
 public:
  using Observer = std::function<void(const MetadataNotification&)>;
  // An option of execute(): the answer is kept up to date.
  static constexpr unsigned int wantsUpdates = 4;

  virtual ~MetadataQuery() = default;
  // Calls `observer`, which must not end the query, for every notification of that name. Before
  // execute().
  virtual void addObserver(const std::string& name, Observer observer) = 0;
  // Restricts the query to that folder, at any depth. Before execute().
  virtual void setSearchScope(const std::string& folder) = 0;
  // Begins to gather and returns at once. An index that does not answer is logged.
  virtual void execute(unsigned int options) = 0;
  virtual void stop() = 0;
  // Holds updates back until enableUpdates(), which reports them together.
  virtual void disableUpdates() = 0;
  virtual void enableUpdates() = 0;
  virtual bool isGatheringComplete() const = 0;
};

class MetadataQueryService {
 public:
  virtual ~MetadataQueryService() = default;
  // Returns a query made from its text, "(kMDItemFSName != 'PATTERN'c)": every item but those whose
  // path matches the pattern ("*" stands for anything), compared without regard to case because of
  // the "c". Null for a text that is not understood. Main thread.
  virtual std::unique_ptr<MetadataQuery> create(const std::string& queryText) = 0;
};

}  // namespace quillo

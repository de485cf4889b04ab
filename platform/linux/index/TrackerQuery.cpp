#include "platform/linux/index/TrackerQuery.h"

#include <fnmatch.h>

#include <QByteArray>
#include <QDateTime>
#include <iterator>
#include <string_view>
#include <utility>

#include "posix/Text.h"

namespace quillo {
namespace {

constexpr std::string_view fileScheme = "file://";
// Resources in one question.
constexpr std::size_t mostAtOnce = 500;

std::optional<MetadataItem::Date> dateOf(const std::string& text) {
  const QDateTime date = QDateTime::fromString(QString::fromStdString(text), Qt::ISODateWithMs);
  if (!date.isValid()) {
    return std::nullopt;
  }
  return MetadataItem::Date(std::chrono::milliseconds(date.toMSecsSinceEpoch()));
}

std::optional<std::string> pathOf(const std::string& uri) {
  if (!uri.starts_with(fileScheme)) {
    return std::nullopt;
  }
  return QByteArray::fromPercentEncoding(QByteArray::fromStdString(uri.substr(fileScheme.size())))
      .toStdString();
}

std::string joined(const std::set<int>& resources) {
  std::string text;
  for (const int resource : resources) {
    text.append(text.empty() ? "" : ", ").append(std::to_string(resource));
  }
  return text;
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) {
    return false;
  }
  text = trimmed(text.substr(prefix.size()));
  return true;
}

}  // namespace

TrackerQuery::TrackerQuery(const QDBusConnection& bus, MetadataExclusion exclusion, Report report)
    : exclusion_(std::move(exclusion)), report_(std::move(report)), endpoint_(bus) {}

TrackerQuery::~TrackerQuery() { stop(); }

void TrackerQuery::addObserver(const std::string& name, Observer observer) {
  observers_[name] = std::move(observer);
}

void TrackerQuery::setSearchScope(const std::string& folder) {
  scope_ = folder.ends_with("/") ? folder : folder + "/";
}

void TrackerQuery::execute(unsigned int options) {
  stop();
  isRunning_ = true;
  isGatheringComplete_ = false;
  endpoint_.observe(
      [this, wanted = (options & wantsUpdates) != 0](const TrackerEndpoint::Change& change) {
        if (wanted) {
          noteChange(change);
        }
      },
      [this] {
        if (!isGathering_ && !isGatheringComplete_) {
          gather();
        }
      });
  gather();
}

void TrackerQuery::stop() {
  ++run_;
  isRunning_ = false;
  isAsking_ = false;
  endpoint_.stopObserving();
  added_.clear();
  changed_.clear();
  update_ = {metadataQueryDidUpdate};
}

// Nobody is notified of what is there already, so it is only asked whether there is an index.
void TrackerQuery::gather() {
  isGathering_ = true;
  endpoint_.select("ASK { GRAPH tracker:FileSystem { ?file a nfo:FileDataObject } }",
                   [this, run = run_](const auto&, const std::string& problem) {
                     if (run == run_) {
                       finishGathering(problem);
                     }
                   });
}

void TrackerQuery::finishGathering(const std::string& problem) {
  isGathering_ = false;
  if (!problem.empty()) {
    report_("Changes in " + scope_ + " are not told by the index of files: Tracker's file miner " +
            "does not answer: " + problem);
    return;
  }
  notify({metadataQueryProgress});
  isGatheringComplete_ = true;
  notify({metadataQueryDidFinish});
  askForChanges();
}

void TrackerQuery::noteChange(const TrackerEndpoint::Change& change) {
  using Kind = TrackerEndpoint::Change::Kind;
  if (change.kind == Kind::deleted) {
    added_.erase(change.resource);
    changed_.erase(change.resource);
  } else if (change.kind == Kind::created) {
    added_.insert(change.resource);
  } else if (change.kind == Kind::updated) {
    changed_.insert(change.resource);
  }
  if (!std::exchange(willAsk_, true)) {
    // With the next turn of the event loop, so that one signal makes one question.
    QMetaObject::invokeMethod(
        this,
        [this] {
          willAsk_ = false;
          askForChanges();
        },
        Qt::QueuedConnection);
  }
}

void TrackerQuery::askForChanges() {
  if (!isRunning_ || !isGatheringComplete_ || isAsking_ || (added_.empty() && changed_.empty())) {
    return;
  }
  isAsking_ = true;
  Resources asked;
  Resources added;
  while (!added_.empty() && asked.size() < mostAtOnce) {
    added.insert(*added_.begin());
    asked.insert(added_.extract(added_.begin()).value());
  }
  while (!changed_.empty() && asked.size() < mostAtOnce) {
    asked.insert(changed_.extract(changed_.begin()).value());
  }
  endpoint_.select(
      "SELECT tracker:id(?file) STR(?file) ?accessed ?modified { GRAPH tracker:FileSystem { "
      "?file a nfo:FileDataObject . OPTIONAL { ?file nfo:fileLastAccessed ?accessed } "
      "OPTIONAL { ?file nfo:fileLastModified ?modified } } "
      "FILTER (tracker:id(?file) IN (" +
          joined(asked) + ")) }",
      [this, run = run_, added](const auto& rows, const std::string& problem) {
        if (run != run_) {
          return;
        }
        isAsking_ = false;
        if (!problem.empty()) {
          report_("What changed in " + scope_ +
                  " cannot be had from the index of files: " + problem);
        }
        takeChanges(rows, added);
        askForChanges();
      });
}

void TrackerQuery::takeChanges(const std::vector<TrackerEndpoint::Row>& rows,
                               const Resources& added) {
  for (const TrackerEndpoint::Row& row : rows) {
    if (row.size() != 4) {
      continue;
    }
    const auto path = pathOf(row[1]);
    if (!path || !isInScope(*path) || exclusion_.leavesOut(*path)) {
      continue;
    }
    const bool isNew = added.count(numberIn<int>(row[0]).value_or(-1)) > 0;
    (isNew ? update_.addedItems : update_.changedItems)
        .push_back({path, dateOf(row[2]), dateOf(row[3])});
  }
  notifyUpdates();
}

bool TrackerQuery::isInScope(const std::string& path) const {
  return path.size() > scope_.size() && path.starts_with(scope_);
}

void TrackerQuery::enableUpdates() {
  if (--disabled_ == 0 && isRunning_) {
    QMetaObject::invokeMethod(
        this, [this] { notifyUpdates(); }, Qt::QueuedConnection);
  }
}

void TrackerQuery::notifyUpdates() {
  if (disabled_ > 0 || (update_.addedItems.empty() && update_.changedItems.empty())) {
    return;
  }
  notify(std::exchange(update_, {metadataQueryDidUpdate}));
}

void TrackerQuery::notify(const MetadataNotification& notification) {
  const auto observer = observers_.find(notification.name);
  if (observer != observers_.end()) {
    observer->second(notification);
  }
}

std::unique_ptr<MetadataQuery> TrackerQueries::create(const std::string& queryText) {
  auto exclusion = MetadataExclusion::parse(queryText);
  return exclusion ? std::make_unique<TrackerQuery>(bus_, std::move(*exclusion), report_) : nullptr;
}

std::optional<MetadataExclusion> MetadataExclusion::parse(const std::string& queryText) {
  std::string_view text = trimmed(queryText);
  if (text.starts_with("(") && text.ends_with(")")) {
    text = trimmed(text.substr(1, text.size() - 2));
  }
  if (!takePrefix(text, "kMDItemFSName") || !takePrefix(text, "!=") || !text.starts_with("'")) {
    return std::nullopt;
  }
  const std::size_t end = text.rfind('\'');
  const std::string_view modifiers = text.substr(end + 1);
  if (end == 0 || (!modifiers.empty() && modifiers != "c")) {
    return std::nullopt;
  }
  return MetadataExclusion(std::string(text.substr(1, end - 1)), modifiers == "c");
}

bool MetadataExclusion::leavesOut(const std::string& path) const {
  return fnmatch(pattern_.c_str(), path.c_str(), anyCase_ ? FNM_CASEFOLD : 0) == 0;
}

}  // namespace quillo

#include "tests/fakes/desktop/FakeServices.h"

#include <algorithm>
#include <utility>

namespace quillo {

void FakeSystemLog::log(std::string_view message) {
  std::lock_guard hold(mutex_);
  if (message.ends_with('\n')) {
    message.remove_suffix(1);
  }
  lines_.emplace_back(message);
  changed_.notify_all();
}

std::vector<std::string> FakeSystemLog::lines() {
  std::lock_guard hold(mutex_);
  return lines_;
}

int FakeSystemLog::count(const std::string& line) {
  std::lock_guard hold(mutex_);
  return static_cast<int>(std::count(lines_.begin(), lines_.end(), line));
}

bool FakeSystemLog::has(const std::string& line) { return count(line) > 0; }

bool FakeSystemLog::waitFor(const std::string& line, int times) {
  std::unique_lock hold(mutex_);
  return changed_.wait_for(hold, std::chrono::seconds(10),
                           [&] { return std::count(lines_.begin(), lines_.end(), line) >= times; });
}

void FakeSystemLog::clear() {
  std::lock_guard hold(mutex_);
  lines_.clear();
}

void FakePreferenceStore::addSuiteNamed(const std::string& domain) {
  std::lock_guard hold(mutex_);
  if (std::find(suites_.begin(), suites_.end(), domain) == suites_.end()) {
    suites_.push_back(domain);
  }
}

void FakePreferenceStore::synchronize() {
  std::lock_guard hold(mutex_);
  ++synchronizations_;
}

bool FakePreferenceStore::hasAny() {
  std::lock_guard hold(mutex_);
  return !own_.empty() || (!suites_.empty() && !ofMainApplication_.empty());
}

std::optional<PreferenceValue> FakePreferenceStore::objectForKey(const std::string& key) {
  std::lock_guard hold(mutex_);
  if (const auto found = own_.find(key); found != own_.end()) {
    return found->second;
  }
  if (!suites_.empty()) {
    if (const auto found = ofMainApplication_.find(key); found != ofMainApplication_.end()) {
      return found->second;
    }
  }
  return std::nullopt;
}

void FakePreferenceStore::set(const std::string& key, PreferenceValue value) {
  std::lock_guard hold(mutex_);
  own_[key] = std::move(value);
}

void FakePreferenceStore::setOfMainApplication(const std::string& key, PreferenceValue value) {
  std::lock_guard hold(mutex_);
  ofMainApplication_[key] = std::move(value);
}

void FakePreferenceStore::remove(const std::string& key) {
  std::lock_guard hold(mutex_);
  own_.erase(key);
}

std::vector<std::string> FakePreferenceStore::suites() {
  std::lock_guard hold(mutex_);
  return suites_;
}

int FakePreferenceStore::synchronizations() {
  std::lock_guard hold(mutex_);
  return synchronizations_;
}

PreferenceValue watchedFolder(const std::string& path, bool withSubdirs) {
  PreferenceDictionary entry;
  entry["pathName"] = PreferenceValue{path};
  entry["WatchSubdirs"] = PreferenceValue{withSubdirs};
  return {entry};
}

PreferenceValue excludePattern(const std::string& pattern, bool enabled, bool isRegEx) {
  PreferenceDictionary entry;
  entry["excludePattern"] = PreferenceValue{pattern};
  entry["excludeEnabled"] = PreferenceValue{enabled};
  entry["excludeRegEx"] = PreferenceValue{isRegEx};
  return {entry};
}

std::string FakeLocalizedStrings::stringForKey(const std::string& key, const std::string&) {
  const auto found = texts.find(key);
  return found == texts.end() ? "<" + key + ">" : found->second;
}

bool FakeGrowl::isGrowlRunning() {
  std::lock_guard hold(mutex_);
  return running_;
}

void FakeGrowl::setRunning(bool running) {
  std::lock_guard hold(mutex_);
  running_ = running;
}

void FakeGrowl::notify(const GrowlNotification& notification) {
  std::lock_guard hold(mutex_);
  posted_.push_back(notification);
}

std::vector<GrowlNotification> FakeGrowl::posted() {
  std::lock_guard hold(mutex_);
  return posted_;
}

void FakeFileDepartures::watch(const std::string& path, std::function<bool()> hasLeft) {
  std::lock_guard hold(mutex_);
  watched_.emplace_back(path, std::move(hasLeft));
}

void FakeFileDepartures::ask() {
  std::vector<std::pair<std::string, std::function<bool()>>> asked;
  {
    std::lock_guard hold(mutex_);
    asked.swap(watched_);
  }
  std::erase_if(asked, [](const auto& entry) { return entry.second(); });
  std::lock_guard hold(mutex_);
  watched_.insert(watched_.begin(), asked.begin(), asked.end());
}

std::vector<std::string> FakeFileDepartures::watched() {
  std::lock_guard hold(mutex_);
  std::vector<std::string> paths;
  for (const auto& [path, hasLeft] : watched_) {
    paths.push_back(path);
  }
  return paths;
}

void FakeGrowl::withdraw(const std::string& topic) {
  std::lock_guard hold(mutex_);
  withdrawn_.push_back(topic);
}

std::vector<std::string> FakeGrowl::withdrawn() {
  std::lock_guard hold(mutex_);
  return withdrawn_;
}

void FakeDistributedNotificationCenter::deliver(const std::string& name) {
  const auto found = observers.find(name);
  if (found != observers.end()) {
    // A copy: what it does may end the observation.
    const auto action = found->second;
    action();
  }
}

bool FakeAuthorization::executeWithPrivileges(const std::string& program,
                                              const std::vector<std::string>& arguments,
                                              std::string& reason) {
  std::vector<std::string> request{program};
  request.insert(request.end(), arguments.begin(), arguments.end());
  requests.push_back(std::move(request));
  if (duringRequest) {
    duringRequest();
  }
  reason = reasonOfRefusal;
  return granted;
}

bool FakeWorkspace::openFile(const std::string& path) {
  opened.push_back(path);
  return answer;
}

bool FakeWorkspace::selectFile(const std::string& path) {
  selected.push_back(path);
  return answer;
}

std::string FakeWorkspace::recycle(const std::string& sourceFolder,
                                   const std::vector<std::string>& names) {
  recycled.emplace_back(sourceFolder, names);
  return answer ? "" : "no such file";
}

}  // namespace quillo

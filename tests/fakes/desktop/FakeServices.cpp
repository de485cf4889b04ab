#include "tests/fakes/desktop/FakeServices.h"

#include <algorithm>
#include <utility>

namespace quillo {

void FakePreferenceStore::addSuiteNamed(const std::string& domain) {
  std::lock_guard hold(mutex_);
  if (std::find(suites_.begin(), suites_.end(), domain) == suites_.end()) {
    suites_.push_back(domain);
  }
}

std::string FakePreferenceStore::fileThatHas(const std::string& key) {
  std::lock_guard hold(mutex_);
  if (own_.count(key) > 0) {
    return fileOf("org.vantrel.VantrelQuillo");
  }
  const bool isThere = !suites_.empty() && ofMainApplication_.count(key) > 0;
  return isThere ? fileOf("org.vantrel.Vantrel") : "";
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

void FakeFileDepartures::ask() {
  for (const auto& entry : watched_.take()) {
    if (!entry.second()) {
      watched_.add(entry);
    }
  }
}

std::vector<std::string> FakeFileDepartures::watched() {
  std::vector<std::string> paths;
  for (const auto& [path, hasLeft] : watched_()) {
    paths.push_back(path);
  }
  return paths;
}

void FakeDistributedNotificationCenter::deliver(const std::string& name,
                                                const std::string& object) {
  if (const auto taker = objectObservers.find(name); taker != objectObservers.end()) {
    const auto action = taker->second;
    action(object);
  }
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

}  // namespace quillo

#include "platform/linux/preferences/TomlPreferenceStore.h"

#include <algorithm>

#include "platform/linux/preferences/TomlFile.h"
#include "posix/Text.h"

namespace quillo {

TomlPreferenceStore::TomlPreferenceStore(std::vector<std::string> folders,
                                         const std::string& domain, Report report)
    : folders_(std::move(folders)), report_(std::move(report)), domains_{domainNamed(domain)} {}

std::vector<std::string> TomlPreferenceStore::folders(const Environment& environment,
                                                      const std::string& home) {
  std::vector<std::string> result;
  result.push_back(environment.folder("XDG_CONFIG_HOME").value_or(home + "/.config") + "/vantrel");
  const std::string machine = environment.value("XDG_CONFIG_DIRS").value_or("/etc/xdg");
  for (const std::string_view folder : split(machine, ':')) {
    if (!folder.empty() && folder.front() == '/') {
      result.push_back(std::string(folder) + (folder.back() == '/' ? "vantrel" : "/vantrel"));
    }
  }
  return result;
}

TomlPreferenceStore::Domain TomlPreferenceStore::domainNamed(const std::string& name) const {
  Domain domain;
  domain.name = name;
  for (const std::string& folder : folders_) {
    File file;
    file.path = folder + "/" + name + ".toml";
    domain.files.push_back(std::move(file));
  }
  return domain;
}

void TomlPreferenceStore::addSuiteNamed(const std::string& domain) {
  MutexLock hold(mutex_);
  const bool known = std::any_of(domains_.begin(), domains_.end(),
                                 [&](const Domain& each) { return each.name == domain; });
  if (!known) {
    domains_.push_back(domainNamed(domain));
  }
}

void TomlPreferenceStore::synchronize() {
  std::vector<Problem> problems;
  {
    MutexLock hold(mutex_);
    for (Domain& domain : domains_) {
      read(domain, problems);
    }
  }
  report(problems);
}

const TomlPreferenceStore::File* TomlPreferenceStore::fileWith(const std::string& key,
                                                               std::vector<Problem>& problems) {
  const File* first = nullptr;
  for (Domain& domain : domains_) {
    if (!domain.wasRead) {
      read(domain, problems);
    }
    for (const File& file : domain.files) {
      first = !first && file.values.count(key) > 0 ? &file : first;
    }
  }
  return first;
}

std::optional<PreferenceValue> TomlPreferenceStore::objectForKey(const std::string& key) {
  std::vector<Problem> problems;
  std::optional<PreferenceValue> result;
  {
    MutexLock hold(mutex_);
    if (const File* file = fileWith(key, problems)) {
      result = file->values.at(key);
    }
  }
  report(problems);
  return result;
}

std::string TomlPreferenceStore::fileThatHas(const std::string& key) {
  std::vector<Problem> problems;
  std::string result;
  {
    MutexLock hold(mutex_);
    if (const File* file = fileWith(key, problems)) {
      result = file->path;
    }
  }
  report(problems);
  return result;
}

bool TomlPreferenceStore::hasAny() {
  MutexLock hold(mutex_);
  const auto isThere = [](const File& file) {
    return !file.values.empty() || !file.reportedState.empty();
  };
  return std::any_of(domains_.begin(), domains_.end(), [&](const Domain& domain) {
    return std::any_of(domain.files.begin(), domain.files.end(), isThere);
  });
}

std::string TomlPreferenceStore::fileOf(const std::string& domain) const {
  return folders_.front() + "/" + domain + ".toml";
}

void TomlPreferenceStore::read(Domain& domain, std::vector<Problem>& problems) {
  domain.wasRead = true;
  for (File& file : domain.files) {
    TomlFile now = TomlFile::read(file.path);
    if (now.problem.empty()) {
      file.values = std::move(now.values);
      file.reportedState.clear();
    } else if (const std::string state = now.version + now.problem; state != file.reportedState) {
      file.reportedState = state;
      problems.push_back({now.problem, now.wording});
    }
  }
}

void TomlPreferenceStore::report(const std::vector<Problem>& problems) const {
  // Not under the lock: whoever hears of it may read a preference.
  for (const Problem& problem : problems) {
    if (report_) {
      report_(problem.text, problem.wording);
    }
  }
}

}  // namespace quillo

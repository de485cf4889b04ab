#pragma once

#include <functional>

#include "platform/LocalizedStrings.h"
#include "platform/PreferenceStore.h"
#include "platform/linux/services/Environment.h"
#include "posix/Mutex.h"

namespace quillo {

// Preferences as files that people write: `<folder>/<domain>.toml` in each of several folders, of
// which the first that has a key decides (XDG Base Directory rules: the user's before the
// machine's).
class TomlPreferenceStore final : public PreferenceStore {
 public:
  // Called with "path:line:column: reason", for the log, and with the same for the user, on the
  // thread that read, once for each state of a file.
  using Report = std::function<void(const std::string& problem, const Wording& wording)>;

  TomlPreferenceStore(std::vector<std::string> folders, const std::string& domain, Report report);
  // Returns `vantrel` below $XDG_CONFIG_HOME and below each of $XDG_CONFIG_DIRS, or their defaults.
  static std::vector<std::string> folders(const Environment& environment, const std::string& home);

  void addSuiteNamed(const std::string& domain) override;
  void synchronize() override;
  std::optional<PreferenceValue> objectForKey(const std::string& key) override;
  std::string fileThatHas(const std::string& key) override;
  bool hasAny() override;
  std::string fileOf(const std::string& domain) const override;

 private:
  struct File {
    std::string path;
    PreferenceDictionary values;
    std::string reportedState;
  };
  struct Domain {
    std::string name;
    std::vector<File> files;
    bool wasRead = false;
  };

  struct Problem {
    std::string text;
    Wording wording;
  };

  Domain domainNamed(const std::string& name) const;
  static void read(Domain& domain, std::vector<Problem>& problems);
  const File* fileWith(const std::string& key, std::vector<Problem>& problems)
      QUILLO_REQUIRES(mutex_);
  void report(const std::vector<Problem>& problems) const;

  const std::vector<std::string> folders_;
  const Report report_;
  Mutex mutex_;
  std::vector<Domain> domains_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace quillo

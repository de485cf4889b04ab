#pragma once

#include <string>
#include <vector>

#include "platform/PreferenceStore.h"
#include "platform/TomlText.h"
#include "posix/FileFacts.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {

// Preferences in files that a test writes: the agent's own, the user's, and the machine's, of which
// the first that has a key decides. Read anew each time.
class FilePreferenceStore final : public PreferenceStore {
 public:
  explicit FilePreferenceStore(const TemporaryFolder& folder)
      : files_{folder.at("config/org.vantrel.VantrelQuillo.toml"),
               folder.at("config/org.vantrel.Vantrel.toml"),
               folder.at("machine/org.vantrel.Vantrel.toml")},
        folder_(folder.at("config")) {}

  void addSuiteNamed(const std::string&) override {}
  void synchronize() override { ++synchronizations; }
  std::optional<PreferenceValue> objectForKey(const std::string& key) override {
    std::string file = fileThatHas(key);
    return file.empty() ? std::nullopt : std::optional(valuesIn(file).at(key));
  }
  std::string fileThatHas(const std::string& key) override {
    for (const std::string& file : files_) {
      if (valuesIn(file).count(key) > 0) {
        return file;
      }
    }
    return "";
  }
  bool hasAny() override {
    for (const std::string& file : files_) {
      if (!valuesIn(file).empty()) {
        return true;
      }
    }
    return false;
  }
  std::string fileOf(const std::string& domain) const override {
    return folder_ + "/" + domain + ".toml";
  }

  int synchronizations = 0;

 private:
  static PreferenceDictionary valuesIn(const std::string& file) {
    return TomlText::parse(contentsOfRegularFile(file, Links::followed).value_or("")).values;
  }

  const std::vector<std::string> files_;
  const std::string folder_;
};

}  // namespace quillo

#include "platform/linux/dialogs/QtInterfaceLoader.h"

#include <utility>

#include "platform/linux/dialogs/QtDialog.h"

namespace quillo {

QtInterfaceLoader::QtInterfaceLoader(std::string folder, Application& application, SystemLog& log,
                                     ImageLoader& imageLoader, LocalizedStrings& localizedStrings,
                                     QtModifierKeys& modifierKeys)
    : folder_(std::move(folder)),
      application_(application),
      log_(log),
      translator_(localizedStrings),
      piles_(application),
      services_{imageLoader, localizedStrings, modifierKeys, piles_} {}

std::shared_ptr<ButtonDialog> QtInterfaceLoader::load(const std::string& name) {
  auto file = fileNamed(name);
  return file ? std::make_shared<QtDialog>(application_, services_, *std::move(file)) : nullptr;
}

std::optional<InterfaceFile> QtInterfaceLoader::fileNamed(const std::string& name) {
  MutexLock lock(mutex_);
  const auto known = files_.find(name);
  if (known != files_.end()) {
    return known->second;
  }
  std::string reason;
  auto file = InterfaceFile::read(folder_, name, reason);
  if (!file) {
    log_.log("Cannot load the interface file " + reason);
    return std::nullopt;
  }
  return files_.emplace(name, *std::move(file)).first->second;
}

}  // namespace quillo

#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/Application.h"
#include "platform/Dialog.h"
#include "platform/SystemLog.h"
#include "platform/linux/dialogs/DialogStack.h"
#include "platform/linux/dialogs/DialogText.h"
#include "platform/linux/dialogs/InterfaceFile.h"
#include "platform/linux/text/StringTables.h"
#include "posix/Mutex.h"

namespace quillo {

// Dialogs out of the interface files of a folder. The file is read and checked on the calling
// thread, the window is made later on the main thread. Lives as long as the application.
class QtInterfaceLoader final : public InterfaceLoader {
 public:
  // Logs to `log` why a file cannot be loaded. Main thread.
  QtInterfaceLoader(std::string folder, Application& application, SystemLog& log,
                    ImageLoader& imageLoader, LocalizedStrings& localizedStrings,
                    QtModifierKeys& modifierKeys);

  std::shared_ptr<ButtonDialog> load(const std::string& name) override;

 private:
  std::optional<InterfaceFile> fileNamed(const std::string& name);

  // Constant after construction.
  const std::string folder_;
  Application& application_;
  SystemLog& log_;
  // Main thread only.
  InterfaceTranslator translator_;
  DialogPiles piles_;
  DialogServices services_;

  // Read once: a thousand warnings that wait share one text.
  Mutex mutex_;
  std::map<std::string, InterfaceFile> files_ QUILLO_GUARDED_BY(mutex_);
};

}  // namespace quillo

#pragma once

#include <QString>
#include <optional>
#include <string>

#include "platform/Dialog.h"
#include "platform/Image.h"
#include "platform/LocalizedStrings.h"
#include "platform/linux/dialogs/ButtonEvents.h"
#include "platform/linux/dialogs/DialogStack.h"

class QDialog;
class QWidget;

namespace quillo {

// What the windows of dialogs use; outlives them all.
struct DialogServices {
  ImageLoader& imageLoader;
  LocalizedStrings& localizedStrings;
  QtModifierKeys& modifierKeys;
  DialogPiles& piles;
};

// The texts of a window: kept until there is a window, and from then on shown in it. Main thread.
class DialogText {
 public:
  explicit DialogText(const DialogServices& services) : services_(services) {}

  // Shows everything that was set so far, and from now on every change. The window outlives the
  // last call.
  void showIn(QDialog& dialog);

  void setKind(ButtonDialog::Kind kind) { kind_ = kind; }
  void setMessage(const std::string& message);
  void setDeleteButtonTitle(const std::string& title);
  void setSubject(const std::string& text);
  void setFind(const std::string& path, const std::string& threat);
  void setSuspicious(bool suspicious);
  void setFailure(const std::string& text);
  // Sets how many windows of the kind wait to be shown, of how many that are open.
  void setOthers(int waiting, int open);

 private:
  void showMessage();
  void showSubject();
  void showSuspicion();
  void showFailure();
  void showOthers();
  void showPicture(const char* nameProperty);
  QString localized(const char* key, const std::string& fallback) const;

  const DialogServices& services_;
  QDialog* dialog_ = nullptr;
  ButtonDialog::Kind kind_ = ButtonDialog::Kind::notice;
  std::optional<std::string> message_;
  std::string deleteButtonTitle_;
  std::string subject_;
  // Of a warning about an infected file.
  std::optional<std::string> path_;
  std::string threat_;
  bool suspicious_ = false;
  std::string failure_;
  int waiting_ = 0;
  int open_ = 0;
};

}  // namespace quillo

#pragma once

#include <memory>
#include <string>

#include "platform/Dialog.h"

namespace quillo {

class FoundFile;
struct ScannerServices;

// The controller of one warning dialog: carries out what the user chooses for the infected file. It
// is in the list of open warnings from its creation, and lives as long as its dialog.
class FileRemover : public std::enable_shared_from_this<FileRemover> {
 public:
  // Makes the controller of a dialog just loaded, for the infected file. Any thread.
  static void attachTo(const std::shared_ptr<ButtonDialog>& dialog,
                       const std::shared_ptr<FoundFile>& file, const ScannerServices& services);
  // Does what the notification's button promises: as the delete button, with the file's own
  // warning, if that is still open, and no other. Main thread.
  static void moveToTrash(const std::shared_ptr<FoundFile>& file, const ScannerServices& services);

  FileRemover(std::shared_ptr<ButtonDialog> dialog, std::shared_ptr<FoundFile> file,
              const ScannerServices& services);

  // Carries out both buttons: the delete button moves the file to the trash; the other one leaves
  // it, and shows it in the file manager when Option is held. With Command held, dismisses every
  // other open warning as well. Closes the dialog; a file that could not be moved gets a new one
  // that says so. Main thread.
  void moveToTrash(ButtonDialog::Button sender);
  // Closes the dialog and leaves the file and that list alone. Main thread.
  void ignoreWarning();
  // Returns the index of the last ":", or -1.
  static int getLastColon(const std::string& text);

 private:
  static std::string tryToMove(FoundFile& file, const ScannerServices& services);
  static void showFailure(const std::string& problem, const std::shared_ptr<FoundFile>& file,
                          const ScannerServices& services);

  const std::shared_ptr<ButtonDialog> theDialog;
  const std::shared_ptr<FoundFile> file_;
  const ScannerServices& services_;
};

}  // namespace quillo

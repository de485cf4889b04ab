#pragma once

#include <QDBusConnection>
#include <QObject>

#include "platform/Workspace.h"

namespace quillo {

// Files through GIO (opener, trash) and the file manager's org.freedesktop.FileManager1.
class DesktopWorkspace final : public QObject, public Workspace {
 public:
  explicit DesktopWorkspace(const QDBusConnection& bus) : bus_(bus) {}

  // By the application that the user chose for the file's type, else by xdg-open(1).
  bool openFile(const std::string& path) override;
  // Opens the file's folder where no file manager can select it.
  bool selectFile(const std::string& path) override;
  std::string recycle(const std::string& sourceFolder,
                      const std::vector<std::string>& names) override;

 private:
  QDBusConnection bus_;
};

}  // namespace quillo

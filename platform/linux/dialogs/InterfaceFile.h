#pragma once

#include <QByteArray>
#include <memory>
#include <optional>
#include <string>

class QWidget;

namespace quillo {

// A Qt Designer file (.ui, Qt's QUiLoader), read but not yet made into a window.
struct InterfaceFile {
  std::string name;
  QByteArray contents;

  // Returns `<folder>/<name>.ui`; nothing, and in `reason` why, when it cannot be read, is no
  // well-formed interface file or names no object `top`. Any thread.
  static std::optional<InterfaceFile> read(const std::string& folder, const std::string& name,
                                           std::string& reason,
                                           const std::string& top = "theDialog");
  // Returns the widget that the file describes, not yet shown; null when its class is not known.
  // Main thread.
  std::unique_ptr<QWidget> makeWidget() const;
};

}  // namespace quillo

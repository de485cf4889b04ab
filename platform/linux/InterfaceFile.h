#pragma once

#include <QByteArray>
#include <optional>
#include <string>

namespace quillo {

// A Qt Designer file (.ui, Qt's QUiLoader), read but not yet made into a window.
struct InterfaceFile {
  std::string name;
  QByteArray contents;

  // `<folder>/<name>.ui`; empty when it cannot be read, is no well-formed interface file or names
  // no object `theDialog`. `reason` then says which. Any thread.
  static std::optional<InterfaceFile> read(const std::string& folder, const std::string& name,
                                           std::string& reason);
};

}  // namespace quillo

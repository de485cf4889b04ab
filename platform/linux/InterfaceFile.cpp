#include "platform/linux/InterfaceFile.h"

#include <QFile>
#include <QXmlStreamReader>

namespace quillo {

std::optional<InterfaceFile> InterfaceFile::read(const std::string& folder, const std::string& name,
                                                 std::string& reason) {
  const std::string path = folder + "/" + name + ".ui";
  QFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::ReadOnly)) {
    reason = path + ": " + file.errorString().toStdString();
    return std::nullopt;
  }
  InterfaceFile interface { name, file.readAll() };
  QXmlStreamReader reader(interface.contents);
  bool hasDialog = false;
  const bool isInterface = reader.readNextStartElement() && reader.name() == u"ui";
  while (!reader.atEnd()) {
    if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"widget") {
      hasDialog = hasDialog || reader.attributes().value("name") == u"theDialog";
    }
  }
  if (reader.hasError()) {
    reason = path + ": line " + std::to_string(reader.lineNumber()) + ": " +
             reader.errorString().toStdString();
  } else if (!isInterface || !hasDialog) {
    reason = path + ": no interface file with a window theDialog";
  } else {
    return interface;
  }
  return std::nullopt;
}

}  // namespace quillo

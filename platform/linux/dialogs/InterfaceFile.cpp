#include "platform/linux/dialogs/InterfaceFile.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QPointer>
#include <QTableView>
#include <QUiLoader>
#include <QWidget>
#include <QXmlStreamReader>

namespace quillo {
namespace {

// Asks for no more height than it has to have, so that a page fits into a small window; where there
// is more, it takes that.
class CompactTable final : public QTableView {
 public:
  using QTableView::QTableView;
  QSize sizeHint() const override {
    return {QTableView::sizeHint().width(), minimumSizeHint().height()};
  }
};

class Loader final : public QUiLoader {
 public:
  using QUiLoader::QUiLoader;
  QWidget* createWidget(const QString& kind, QWidget* parent, const QString& name) override {
    if (kind != QLatin1String("QTableView")) {
      return QUiLoader::createWidget(kind, parent, name);
    }
    auto* table = new CompactTable(parent);
    table->setObjectName(name);
    return table;
  }
};

// The loader opens every plug-in of Qt Designer on the library paths, and with one of them Qt
// Quick: seven megabytes for widgets that no file here names. It looks for them once, when it is
// made.
QUiLoader& loader() {
  static QPointer<QUiLoader> kept;
  if (!kept) {
    const QStringList paths = QCoreApplication::libraryPaths();
    QCoreApplication::setLibraryPaths({});
    kept = new Loader(QCoreApplication::instance());
    QCoreApplication::setLibraryPaths(paths);
  }
  return *kept;
}

}  // namespace

std::optional<InterfaceFile> InterfaceFile::read(const std::string& folder, const std::string& name,
                                                 std::string& reason, const std::string& top) {
  const std::string path = folder + "/" + name + ".ui";
  QFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::ReadOnly)) {
    reason = path + ": " + file.errorString().toStdString();
    return std::nullopt;
  }
  InterfaceFile interface { name, file.readAll() };
  QXmlStreamReader reader(interface.contents);
  bool hasTop = false;
  const bool isInterface = reader.readNextStartElement() && reader.name() == u"ui";
  while (!reader.atEnd()) {
    if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"widget") {
      hasTop = hasTop || reader.attributes().value("name") == QString::fromStdString(top);
    }
  }
  if (reader.hasError()) {
    reason = path + ": line " + std::to_string(reader.lineNumber()) + ": " +
             reader.errorString().toStdString();
  } else if (!isInterface || !hasTop) {
    reason = path + ": no interface file with a window " + top;
  } else {
    return interface;
  }
  return std::nullopt;
}

std::unique_ptr<QWidget> InterfaceFile::makeWidget() const {
  QByteArray text = contents;
  QBuffer buffer(&text);
  return std::unique_ptr<QWidget>(loader().load(&buffer));
}

}  // namespace quillo

// Somebody else's window, for what is typed beside the agent's: a field with the keyboard, whose
// text is in a file after every change.
//
//   notepad FILE

#include <QApplication>
#include <QFile>
#include <QPlainTextEdit>

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  if (argc < 2) {
    return 2;
  }
  QGuiApplication::setDesktopFileName(QStringLiteral("notepad"));
  const QString name = QFile::decodeName(argv[1]);
  QPlainTextEdit window;
  window.setWindowTitle(QStringLiteral("Notepad"));
  QObject::connect(&window, &QPlainTextEdit::textChanged, &window, [&] {
    QFile file(name);
    if (file.open(QIODevice::WriteOnly)) {
      file.write(window.toPlainText().toUtf8());
    }
  });
  window.show();
  return QApplication::exec();
}

// Stands in for the main application: owns its bus name, as D-Bus activation needs it, and opens a
// window when it is asked to by the method Show, or at once with the argument "--at-once".

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QLabel>
#include <string_view>

namespace {

class MainApplicationObject final : public QDBusVirtualObject {
 public:
  explicit MainApplicationObject(QWidget& window) : window_(window) {}

  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& call, const QDBusConnection& connection) override {
    if (call.member() == QLatin1String("Show")) {
      window_.show();
    }
    connection.send(call.createReply());
    return true;
  }

 private:
  QWidget& window_;
};

}  // namespace

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  QLabel window(QStringLiteral("Here the preferences of Vantrel would be."));
  window.setWindowTitle(QStringLiteral("Vantrel"));
  window.setMargin(48);
  MainApplicationObject object(window);
  QDBusConnection bus = QDBusConnection::sessionBus();
  bus.registerVirtualObject(QStringLiteral("/org/vantrel/Vantrel"), &object);
  if (!bus.registerService(QStringLiteral("org.vantrel.Vantrel"))) {
    return 1;
  }
  if (argc > 1 && std::string_view(argv[1]) == "--at-once") {
    window.show();
  }
  return QApplication::exec();
}

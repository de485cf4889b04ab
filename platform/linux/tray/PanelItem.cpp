#include "platform/linux/tray/PanelItem.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QImage>
#include <QMetaClassInfo>
#include <QtEndian>

namespace quillo {
namespace {

constexpr const char* interfaceName = "org.kde.StatusNotifierItem";
const QString place = QStringLiteral("/StatusNotifierItem");
// Larger ones cost the bus more than they show.
constexpr int greatestPicture = 64;

// Qt gives each status item a connection of its own, named after it. Those of icons that have gone
// are closed.
QObject* itemOfQt() {
  const QString name = QStringLiteral("org.kde.StatusNotifierItem-%1-%2");
  constexpr int mostIconsOfALife = 1000;
  for (int number = 1; number <= mostIconsOfALife; ++number) {
    const QDBusConnection connection(name.arg(QCoreApplication::applicationPid()).arg(number));
    if (QObject* item = connection.objectRegisteredAt(place); connection.isConnected() && item) {
      return item;
    }
  }
  return nullptr;
}

QObject* adaptorOf(const QObject& item) {
  for (QObject* child : item.children()) {
    const QMetaObject& type = *child->metaObject();
    const int info = type.indexOfClassInfo("D-Bus Interface");
    if (info >= 0 && qstrcmp(type.classInfo(info).value(), interfaceName) == 0) {
      return child;
    }
  }
  return nullptr;
}

PanelPicture pictureOf(const QIcon& icon, const QSize& size) {
  const QImage image = icon.pixmap(size, 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
  PanelPicture picture{image.width(), image.height(), {}};
  picture.bytes.resize(image.sizeInBytes());
  qToBigEndian<quint32>(image.constBits(), image.sizeInBytes() / qsizetype{sizeof(quint32)},
                        picture.bytes.data());
  return picture;
}

}  // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const PanelPicture& picture) {
  argument.beginStructure();
  argument << picture.width << picture.height << picture.bytes;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PanelPicture& picture) {
  argument.beginStructure();
  argument >> picture.width >> picture.height >> picture.bytes;
  argument.endStructure();
  return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PanelToolTip& tip) {
  argument.beginStructure();
  argument << tip.icon << tip.pictures << tip.title << tip.text;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PanelToolTip& tip) {
  argument.beginStructure();
  argument >> tip.icon >> tip.pictures >> tip.title >> tip.text;
  argument.endStructure();
  return argument;
}

PanelItem* PanelItem::putBeforeQts() {
  QObject* item = itemOfQt();
  QObject* qts = item ? adaptorOf(*item) : nullptr;
  if (!qts) {
    return nullptr;
  }
  qDBusRegisterMetaType<PanelPicture>();
  qDBusRegisterMetaType<PanelPictures>();
  qDBusRegisterMetaType<PanelToolTip>();
  return new PanelItem(*item, *qts);
}

// Of two adaptors for one interface the later one answers.
PanelItem::PanelItem(QObject& item, QObject& qts) : QDBusAbstractAdaptor(&item), qts_(qts) {
  connect(&qts_, SIGNAL(NewIcon()), this, SIGNAL(NewIcon()));
  connect(&qts_, SIGNAL(NewToolTip()), this, SIGNAL(NewToolTip()));
  connect(&qts_, SIGNAL(NewStatus(QString)), this, SIGNAL(NewStatus(QString)));
  connect(&qts_, SIGNAL(NewTitle()), this, SIGNAL(NewTitle()));
}

QString PanelItem::category() const { return qts_.property("Category").toString(); }
QString PanelItem::id() const { return qts_.property("Id").toString(); }
QString PanelItem::title() const { return qts_.property("Title").toString(); }
QString PanelItem::status() const { return qts_.property("Status").toString(); }
QString PanelItem::iconName() const { return qts_.property("IconName").toString(); }

QDBusObjectPath PanelItem::menu() const {
  return qvariant_cast<QDBusObjectPath>(qts_.property("Menu"));
}

PanelPictures PanelItem::iconPixmap() const {
  PanelPictures pictures;
  for (const QSize& size : icon_.availableSizes()) {
    if (qMax(size.width(), size.height()) <= greatestPicture) {
      pictures << pictureOf(icon_, size);
    }
  }
  return pictures;
}

PanelToolTip PanelItem::toolTip() const { return {{}, {}, toolTip_, {}}; }

void PanelItem::ContextMenu(int x, int y) {
  QMetaObject::invokeMethod(&qts_, "ContextMenu", Q_ARG(int, x), Q_ARG(int, y));
}

void PanelItem::SecondaryActivate(int x, int y) {
  QMetaObject::invokeMethod(&qts_, "SecondaryActivate", Q_ARG(int, x), Q_ARG(int, y));
}

void PanelItem::Scroll(int, const QString&) {}

}  // namespace quillo

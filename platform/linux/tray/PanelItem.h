#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QIcon>
#include <QList>
#include <QString>

namespace quillo {

// A picture as panels take it: ARGB, the most significant byte first.
struct PanelPicture {
  int width = 0;
  int height = 0;
  QByteArray bytes;
};
using PanelPictures = QList<PanelPicture>;

struct PanelToolTip {
  QString icon;
  PanelPictures pictures;
  QString title;
  QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PanelPicture& picture);
const QDBusArgument& operator>>(const QDBusArgument& argument, PanelPicture& picture);
QDBusArgument& operator<<(QDBusArgument& argument, const PanelToolTip& tip);
const QDBusArgument& operator>>(const QDBusArgument& argument, PanelToolTip& tip);

// The status item as panels see it over D-Bus (org.kde.StatusNotifierItem), in place of the one
// that Qt shows them, which says of itself that it opens windows: on Wayland no program can open a
// menu beside a panel's icon, so it is for the panel to do it, at any click. Plasma asks the item
// to open a window all the same, and opens the menu only when there is no such operation. The menu
// itself, and what the panel hears when, stay Qt's. Main thread.
class PanelItem final : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
  Q_PROPERTY(QString Category READ category)
  Q_PROPERTY(QString Id READ id)
  Q_PROPERTY(QString Title READ title)
  Q_PROPERTY(QString Status READ status)
  Q_PROPERTY(int WindowId READ windowId)
  Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
  Q_PROPERTY(QDBusObjectPath Menu READ menu)
  Q_PROPERTY(QString IconName READ iconName)
  Q_PROPERTY(quillo::PanelPictures IconPixmap READ iconPixmap)
  Q_PROPERTY(quillo::PanelToolTip ToolTip READ toolTip)

 public:
  // Puts one before Qt's item, of which there is one, with which it goes. Returns null where that
  // cannot be found.
  static PanelItem* putBeforeQts();

  void setIcon(const QIcon& icon) { icon_ = icon; }
  void setToolTip(const QString& text) { toolTip_ = text; }

  QString category() const;
  QString id() const;
  QString title() const;
  QString status() const;
  int windowId() const { return 0; }
  bool itemIsMenu() const { return true; }
  QDBusObjectPath menu() const;
  QString iconName() const;
  PanelPictures iconPixmap() const;
  PanelToolTip toolTip() const;

 public Q_SLOTS:
  void ContextMenu(int x, int y);
  void SecondaryActivate(int x, int y);
  void Scroll(int delta, const QString& orientation);

 Q_SIGNALS:
  void NewIcon();
  void NewToolTip();
  void NewStatus(const QString& status);
  void NewTitle();

 private:
  PanelItem(QObject& item, QObject& qts);

  // Lives as long as this object.
  QObject& qts_;
  QIcon icon_;
  QString toolTip_;
};

}  // namespace quillo

Q_DECLARE_METATYPE(quillo::PanelPicture)
Q_DECLARE_METATYPE(quillo::PanelToolTip)

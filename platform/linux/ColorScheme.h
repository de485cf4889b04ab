#pragma once

#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace quillo {

// Has this application's windows dark where its user prefers that and Qt does not know of it: asks
// the desktop (org.freedesktop.portal.Settings, else GNOME's own setting) and follows changes. Main
// thread.
class ColorScheme final : public QObject {
  Q_OBJECT

 public:
  explicit ColorScheme(QDBusConnection bus);

 private Q_SLOTS:
  void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);

 private:
  void ask();
  void follow(bool prefersDark);

  QDBusConnection bus_;
  bool isOurs_ = false;
};

}  // namespace quillo

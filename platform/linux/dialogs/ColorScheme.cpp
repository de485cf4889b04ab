#include "platform/linux/dialogs/ColorScheme.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QPalette>
#include <string_view>
#include <utility>

#include "platform/linux/services/Guarded.h"
#include "platform/linux/session/BusDaemon.h"

namespace quillo {
namespace {

const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settings = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
constexpr uint dark = 1;

// The answer is a variant in a variant.
bool isDark(QVariant value) {
  while (value.canConvert<QDBusVariant>()) {
    value = value.value<QDBusVariant>().variant();
  }
  return value.toUInt() == dark;
}

constexpr const char* gnomeSettings = "org.gnome.desktop.interface";
constexpr const char* gnomeKey = "color-scheme";

// For a desktop without the portal; null where it is not GNOME's either.
GSettings* settingsOfGnome() {
  GSettingsSchemaSource* source = g_settings_schema_source_get_default();
  GSettingsSchema* schema =
      source ? g_settings_schema_source_lookup(source, gnomeSettings, TRUE) : nullptr;
  if (!schema) {
    return nullptr;
  }
  const bool hasKey = g_settings_schema_has_key(schema, gnomeKey) != FALSE;
  g_settings_schema_unref(schema);
  return hasKey ? g_settings_new(gnomeSettings) : nullptr;
}

bool prefersDark(GSettings* interface) {
  const GioPointer<char> text(g_settings_get_string(interface, gnomeKey));
  return std::string_view(text.get()) == "prefer-dark";
}

QPalette darkPalette() {
  const QColor window(0x24, 0x24, 0x24);
  const QColor base(0x1e, 0x1e, 0x1e);
  const QColor button(0x3a, 0x3a, 0x3a);
  const QColor text(0xee, 0xee, 0xec);
  const QColor faded(0x8b, 0x8e, 0x8f);
  const QColor accent(0x35, 0x84, 0xe4);
  QPalette palette(text, button, button.lighter(), base.darker(), button.darker(), text, Qt::white,
                   base, window);
  palette.setColor(QPalette::AlternateBase, window);
  palette.setColor(QPalette::ToolTipBase, button);
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::PlaceholderText, faded);
  palette.setColor(QPalette::Highlight, accent);
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, accent.lighter());
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, faded);
  }
  return palette;
}

}  // namespace

ColorScheme::ColorScheme(QDBusConnection bus) : bus_(std::move(bus)) {
  bus_.connect(portal, portalPath, settings, QStringLiteral("SettingChanged"), this,
               SLOT(settingChanged(QString, QString, QDBusVariant)));
  ask();
}

void ColorScheme::ask() {
  QDBusMessage call =
      QDBusMessage::createMethodCall(portal, portalPath, settings, QStringLiteral("Read"));
  call << appearance << colorScheme;
  call.setAutoStartService(false);
  whenAnswered(bus_.asyncCall(call), *this, [this](const QDBusPendingCall& answer) {
    const QDBusPendingReply<QDBusVariant> reply = answer;
    if (reply.isError()) {
      followGnome();
    } else {
      follow(isDark(QVariant::fromValue(reply.value())));
    }
  });
}

void ColorScheme::followGnome() {
  gnome_.reset(settingsOfGnome());
  if (!gnome_) {
    return;
  }
  const auto changed = +[](GSettings* interface, gchar*, gpointer self) {
    guarded([&] { static_cast<ColorScheme*>(self)->follow(prefersDark(interface)); });
  };
  g_signal_connect(gnome_.get(), "changed::color-scheme", G_CALLBACK(changed), this);
  // What is never read is not logged.
  follow(prefersDark(gnome_.get()));
}

ColorScheme::~ColorScheme() {
  if (gnome_) {
    g_signal_handlers_disconnect_by_data(gnome_.get(), this);
  }
}

void ColorScheme::settingChanged(const QString& space, const QString& key,
                                 const QDBusVariant& value) {
  if (space == appearance && key == colorScheme) {
    follow(isDark(QVariant::fromValue(value)));
  }
}

// A desktop whose colours Qt knows has made the palette dark already.
void ColorScheme::follow(bool prefersDark) {
  constexpr int middle = 128;
  const bool isDarkAlready = QApplication::palette().color(QPalette::Window).lightness() < middle;
  if (prefersDark && !isDarkAlready) {
    QApplication::setPalette(darkPalette());
    isOurs_ = true;
  } else if (!prefersDark && isOurs_) {
    QApplication::setPalette(QPalette());
    isOurs_ = false;
  }
}

}  // namespace quillo

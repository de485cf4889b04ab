#include "benchmarks/interface/ListWindow.h"

#include <QImage>
#include <stdexcept>

namespace bench {
namespace {

constexpr const char* identifier = "org.vantrel.Vantrel";
constexpr const char* object = "/org/vantrel/Vantrel";
// As resources/images/sign_threat.svg is filled; nothing else of the window is.
constexpr QRgb threat = qRgb(0xc8, 0x36, 0x2b);
constexpr Milliseconds settling(700);
constexpr int millisecondsBetweenKeys = 4;

}  // namespace

ListWindow::ListWindow(quillo::DesktopSession& session, const std::string& program)
    : session_(session),
      connection_(session.busAddress()),
      process_(session.startCommand({program, "--page", "overview"})),
      title_("Overview") {
  if (!session_.screen().eventually(
          [this] { return session_.screen().countWindows(title_ + " – Vantrel") == 1; })) {
    throw std::runtime_error("the window does not come up");
  }
  pause(settling);
}

ListWindow::~ListWindow() {
  process_->terminate();
  process_->waitUntilExit();
}

void ListWindow::askFor(const std::string& page) {
  g_dbus_connection_call(connection_.get(), identifier, object, "org.freedesktop.Application",
                         "ActivateAction",
                         g_variant_new_parsed("(%s, @av [], @a{sv} {})", page.c_str()), nullptr,
                         G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr, nullptr);
  g_dbus_connection_flush_sync(connection_.get(), nullptr, nullptr);
}

void ListWindow::tellNews() {
  g_dbus_connection_emit_signal(connection_.get(), nullptr,
                                "/org/vantrel/DistributedNotificationCenter",
                                "org.vantrel.DistributedNotificationCenter",
                                "VantrelHistoryHasChanged", g_variant_new("(s)", "bench"), nullptr);
  g_dbus_connection_flush_sync(connection_.get(), nullptr, nullptr);
}

Milliseconds ListWindow::openPage(const std::string& page, const std::string& title) {
  const QRect area = session_.screen().windowAreas(title_ + " – Vantrel").back();
  if (session_.screen().find(threat, area)) {
    throw std::runtime_error("the sign of a threat is on the screen before its row is");
  }
  const Milliseconds begin = now();
  askFor(page);
  if (!session_.screen().eventually(
          [&] { return session_.screen().find(threat, area).has_value(); })) {
    throw std::runtime_error("the page " + page + " shows no rows");
  }
  const Milliseconds taken = now() - begin;
  title_ = title;
  return taken;
}

// From the top: one for each row.
std::vector<QRect> ListWindow::signs() {
  const QRect window = session_.screen().windowAreas(title_ + " – Vantrel").back();
  const QImage picture = session_.screen().picture().copy(window);
  std::vector<QRect> found;
  bool isWithin = false;
  for (int y = 0; y < picture.height(); ++y) {
    int left = -1;
    for (int x = 0; x < picture.width() && left < 0; ++x) {
      left = (picture.pixel(x, y) & RGB_MASK) == (threat & RGB_MASK) ? x : -1;
    }
    if (left >= 0 && !isWithin) {
      found.emplace_back(window.x() + left, window.y() + y, 1, 1);
    }
    isWithin = left >= 0;
  }
  return found;
}

int ListWindow::enterTable() {
  pause(settling);
  const std::vector<QRect> rows = signs();
  if (rows.empty()) {
    throw std::runtime_error("the table shows no rows");
  }
  session_.click(rows.front().x() + 40, rows.front().y() + 4);
  pause(settling);
  return static_cast<int>(rows.size());
}

void ListWindow::press(const std::string& key, int times) {
  std::vector<std::string> command = {"xdotool", "key", "--delay",
                                      std::to_string(millisecondsBetweenKeys)};
  command.insert(command.end(), static_cast<std::size_t>(times), key);
  session_.run(std::move(command));
}

std::unique_ptr<Probe> ListWindow::probe() {
  return std::make_unique<Probe>(
      session_.busAddress(),
      Probe::Question{identifier, object, "org.freedesktop.DBus.Introspectable", "Introspect", {}});
}

}  // namespace bench

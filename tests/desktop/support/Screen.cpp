#include "tests/desktop/support/Screen.h"

#include <poll.h>
#include <xcb/damage.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace quillo {
namespace {

constexpr auto patience = std::chrono::seconds(20);

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
  return {reply, &std::free};
}

}  // namespace

Screen::Screen(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
  if (xcb_connection_has_error(connection_) != 0) {
    throw std::runtime_error("cannot connect to display " + display);
  }
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  root_ = screen->root;
  size_ = QSize(screen->width_in_pixels, screen->height_in_pixels);
  const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
  owned(xcb_damage_query_version_reply(connection_, xcb_damage_query_version(connection_, 1, 1),
                                       nullptr));
  xcb_damage_create(connection_, xcb_generate_id(connection_), root_,
                    XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
  xcb_flush(connection_);
}

Screen::~Screen() { xcb_disconnect(connection_); }

bool Screen::eventually(const std::function<bool()>& predicate) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + patience;
  while (!predicate()) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0 || xcb_connection_has_error(connection_) != 0) {
      return false;
    }
    awaitEvent(static_cast<int>(left));
  }
  return true;
}

// Takes in all events that are there, so that a burst of drawing costs one look.
void Screen::awaitEvent(int milliseconds) {
  auto event = owned(xcb_poll_for_event(connection_));
  if (!event) {
    pollfd descriptor = {xcb_get_file_descriptor(connection_), POLLIN, 0};
    poll(&descriptor, 1, milliseconds);
  }
  while (owned(xcb_poll_for_event(connection_))) {
  }
}

QImage Screen::picture() {
  const auto width = static_cast<std::uint16_t>(size_.width());
  const auto height = static_cast<std::uint16_t>(size_.height());
  const auto reply = owned(xcb_get_image_reply(
      connection_,
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, 0, 0, width, height, ~0U),
      nullptr));
  if (!reply) {
    return {};
  }
  return QImage(xcb_get_image_data(reply.get()), width, height, QImage::Format_RGB32).copy();
}

std::optional<QRect> Screen::find(QRgb colour, const QRect& area) {
  const QImage image = picture();
  QRect found;
  for (int y = area.top(); y <= area.bottom() && y < image.height(); ++y) {
    for (int x = area.left(); x <= area.right() && x < image.width(); ++x) {
      if ((image.pixel(x, y) & RGB_MASK) == (colour & RGB_MASK)) {
        found |= QRect(x, y, 1, 1);
      }
    }
  }
  return found.isNull() ? std::nullopt : std::optional(found);
}

std::vector<std::string> Screen::windowTitles() {
  const std::vector<std::uint8_t> list = property(root_, "_NET_CLIENT_LIST");
  std::vector<std::string> titles;
  for (std::size_t i = 0; i + sizeof(xcb_window_t) <= list.size(); i += sizeof(xcb_window_t)) {
    xcb_window_t window = 0;
    std::memcpy(&window, &list[i], sizeof window);
    const std::vector<std::uint8_t> title = property(window, "_NET_WM_NAME");
    titles.emplace_back(title.begin(), title.end());
  }
  return titles;
}

std::size_t Screen::countWindows(const std::string& title) {
  std::size_t count = 0;
  for (const std::string& other : windowTitles()) {
    count += other.find(title) == std::string::npos ? 0 : 1;
  }
  return count;
}

bool Screen::hasWindowManager() { return !property(root_, "_NET_SUPPORTING_WM_CHECK").empty(); }

xcb_atom_t Screen::atom(const char* name) {
  const auto length = static_cast<std::uint16_t>(std::strlen(name));
  const auto reply = owned(
      xcb_intern_atom_reply(connection_, xcb_intern_atom(connection_, 0, length, name), nullptr));
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::vector<std::uint8_t> Screen::property(xcb_window_t window, const char* name) {
  const auto reply = owned(xcb_get_property_reply(
      connection_,
      xcb_get_property(connection_, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 4096),
      nullptr));
  if (!reply) {
    return {};
  }
  const auto* data = static_cast<const std::uint8_t*>(xcb_get_property_value(reply.get()));
  return {data, data + xcb_get_property_value_length(reply.get())};
}

}  // namespace quillo

#include "tests/desktop/support/screen/Screen.h"

#include <xcb/damage.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "tests/support/Waiting.h"

// A header for C, which names a member by a keyword of C++.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicitComponents
#include <xcb/xkb.h>
#undef explicit
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

namespace quillo {
namespace {

// For what no event of the display reports: a process that ended, a word over the bus.
constexpr std::chrono::milliseconds longestWithoutLook{250};
// None that a program has, so that windows stand out from it.
constexpr std::uint32_t desktopColour = 0x47607a;

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
  return {reply, &std::free};
}

}  // namespace

Bells::Bells(xcb_connection_t* connection) {
  const std::unique_ptr<xcb_xkb_use_extension_reply_t, decltype(&std::free)> reply(
      xcb_xkb_use_extension_reply(connection, xcb_xkb_use_extension(connection, 1, 0), nullptr),
      &std::free);
  const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_xkb_id);
  if (!reply || !extension) {
    return;
  }
  eventCode_ = extension->first_event;
  constexpr std::uint16_t bell = XCB_XKB_EVENT_TYPE_BELL_NOTIFY;
  xcb_xkb_select_events(connection, XCB_XKB_ID_USE_CORE_KBD, bell, 0, bell, 0, 0, nullptr);
}

bool Bells::isBell(const xcb_generic_event_t& event) const {
  constexpr int sentByAnotherClient = 0x80;
  return eventCode_ != 0 && (event.response_type & ~sentByAnotherClient) == eventCode_ &&
         event.pad0 == XCB_XKB_BELL_NOTIFY;
}

Screen::Screen(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
  if (xcb_connection_has_error(connection_) != 0) {
    throw std::runtime_error("cannot connect to display " + display);
  }
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  root_ = screen->root;
  size_ = QSize(screen->width_in_pixels, screen->height_in_pixels);
  const std::array<std::uint32_t, 2> values = {
      desktopColour, XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY};
  xcb_change_window_attributes(connection_, root_, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK,
                               values.data());
  xcb_clear_area(connection_, 0, root_, 0, 0, 0, 0);
  owned(xcb_damage_query_version_reply(connection_, xcb_damage_query_version(connection_, 1, 1),
                                       nullptr));
  xcb_damage_create(connection_, xcb_generate_id(connection_), root_,
                    XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
  bells_.emplace(connection_);
  xcb_flush(connection_);
}

Screen::~Screen() { xcb_disconnect(connection_); }

bool Screen::eventually(const std::function<bool()>& predicate) {
  bool holds = false;
  awaitBy([this](auto left) { awaitEvent(std::min(left, longestWithoutLook)); },
          [&] {
            holds = predicate();
            return holds || xcb_connection_has_error(connection_) != 0;
          });
  return holds;
}

// Takes in all events that are there, so that a burst of drawing costs one look.
void Screen::awaitEvent(std::chrono::milliseconds limit) {
  auto event = owned(xcb_poll_for_event(connection_));
  if (!event) {
    awaitReadable(xcb_get_file_descriptor(connection_), limit);
    event = owned(xcb_poll_for_event(connection_));
  }
  for (; event; event = owned(xcb_poll_for_event(connection_))) {
    beeps_ += bells_->isBell(*event) ? 1 : 0;
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

std::vector<xcb_window_t> Screen::windowsIn(const char* name) {
  const std::vector<std::uint8_t> bytes = property(root_, name);
  std::vector<xcb_window_t> windows(bytes.size() / sizeof(xcb_window_t));
  if (!windows.empty()) {
    std::memcpy(windows.data(), bytes.data(), windows.size() * sizeof(xcb_window_t));
  }
  return windows;
}

std::string Screen::titleOf(xcb_window_t window) {
  const std::vector<std::uint8_t> title = property(window, "_NET_WM_NAME");
  return {title.begin(), title.end()};
}

std::vector<std::string> Screen::windowTitles() {
  std::vector<std::string> titles;
  for (const xcb_window_t window : windowsIn("_NET_CLIENT_LIST")) {
    titles.push_back(titleOf(window));
  }
  return titles;
}

std::string Screen::classOf(const std::string& title) {
  for (const xcb_window_t window : windowsIn("_NET_CLIENT_LIST_STACKING")) {
    if (titleOf(window) == title) {
      const std::vector<std::uint8_t> words = property(window, "WM_CLASS");
      std::string text(words.begin(), words.end());
      std::replace(text.begin(), text.end(), '\0', ' ');
      return text.substr(0, text.find_last_not_of(' ') + 1);
    }
  }
  return "";
}

std::vector<QRect> Screen::windowAreas(const std::string& title) {
  std::vector<QRect> areas;
  for (const xcb_window_t window : windowsIn("_NET_CLIENT_LIST_STACKING")) {
    if (titleOf(window) == title) {
      areas.push_back(areaOf(window));
    }
  }
  return areas;
}

QRect Screen::activeWindowArea() {
  const std::vector<xcb_window_t> active = windowsIn("_NET_ACTIVE_WINDOW");
  return active.empty() || active.front() == XCB_WINDOW_NONE ? QRect() : areaOf(active.front());
}

bool Screen::hasKeyboard(const std::string& title) {
  const std::vector<xcb_window_t> active = windowsIn("_NET_ACTIVE_WINDOW");
  return !active.empty() && active.front() != XCB_WINDOW_NONE && titleOf(active.front()) == title;
}

std::vector<QRect> Screen::menuAreas() {
  std::vector<QRect> areas;
  const auto tree =
      owned(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr));
  for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i) {
    const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
    if (isMenu(window)) {
      areas.push_back(areaOf(window));
    }
  }
  return areas;
}

// Not every toolkit says of a menu that it is one. What no window manager places and is too large
// to be a helper's window is a menu or a notification.
bool Screen::isMenu(xcb_window_t window) {
  constexpr int smallest = 20;
  const auto attributes = owned(xcb_get_window_attributes_reply(
      connection_, xcb_get_window_attributes(connection_, window), nullptr));
  if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
      attributes->override_redirect == 0) {
    return false;
  }
  const xcb_atom_t type = numberOn(window, "_NET_WM_WINDOW_TYPE");
  const QRect area = areaOf(window);
  return area.width() >= smallest && area.height() >= smallest &&
         (type == XCB_ATOM_NONE || type != atom("_NET_WM_WINDOW_TYPE_NOTIFICATION"));
}

QRect Screen::areaOf(xcb_window_t window) {
  const auto size =
      owned(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
  const auto place = owned(xcb_translate_coordinates_reply(
      connection_, xcb_translate_coordinates(connection_, window, root_, 0, 0), nullptr));
  return size && place ? QRect(place->dst_x, place->dst_y, size->width, size->height) : QRect();
}

std::vector<std::string> Screen::stackedTitles() {
  std::vector<std::string> titles;
  for (const xcb_window_t window : windowsIn("_NET_CLIENT_LIST_STACKING")) {
    titles.push_back(titleOf(window));
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

// It says that it is there before it takes windows in, and loses what it is sent until then. Its
// list of windows comes last; that it has a wish granted shows that it listens.
bool Screen::awaitWindowManager() {
  constexpr std::uint32_t oneDesktop = 1;
  const char* const numberOfDesktops = "_NET_NUMBER_OF_DESKTOPS";
  return eventually([&] { return hasProperty("_NET_CLIENT_LIST"); }) && eventually([&] {
           if (numberOn(root_, numberOfDesktops) == oneDesktop) {
             return true;
           }
           wish(numberOfDesktops, oneDesktop);
           return false;
         });
}

bool Screen::hasProperty(const char* name) {
  const auto reply = owned(xcb_get_property_reply(
      connection_, xcb_get_property(connection_, 0, root_, atom(name), XCB_ATOM_NONE, 0, 0),
      nullptr));
  return reply && reply->type != XCB_ATOM_NONE;
}

void Screen::wish(const char* message, std::uint32_t value) {
  xcb_client_message_event_t event = {};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = root_;
  event.type = atom(message);
  event.data.data32[0] = value;
  xcb_send_event(connection_, 0, root_,
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(connection_);
}

std::uint32_t Screen::numberOn(xcb_window_t window, const char* name) {
  const std::vector<std::uint8_t> bytes = property(window, name);
  std::uint32_t number = 0;
  if (bytes.size() >= sizeof number) {
    std::memcpy(&number, bytes.data(), sizeof number);
  }
  return number;
}

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

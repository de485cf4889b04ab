#pragma once

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>
#include <string>

namespace quillo {

struct GioRelease {
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(char* text) const { g_free(text); }
  template <typename Object>
  void operator()(Object* object) const {
    g_object_unref(object);
  }
};

// Owns one reference to a GLib object, an error or a string.
template <typename T>
using GioPointer = std::unique_ptr<T, GioRelease>;

}  // namespace quillo

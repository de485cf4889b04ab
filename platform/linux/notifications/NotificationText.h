#pragma once

#include <string>
#include <string_view>

namespace quillo {

// Texts for org.freedesktop.Notifications (Desktop Notifications 1.2, freedesktop.org). Whatever
// bytes come in, well-formed UTF-8 comes out, in which nothing hides; a long text is cut in its
// middle, where a path has the least to say. Pure; any thread.

std::string notificationTitle(std::string_view title);
// With `hasMarkup` what the server would take for markup is escaped.
std::string notificationBody(std::string_view description, bool hasMarkup);

}  // namespace quillo

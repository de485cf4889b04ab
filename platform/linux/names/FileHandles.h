#pragma once

#include <string>

namespace quillo {

// Whether the kernel can report every name that appears on the file system that holds the path:
// for that it needs file handles and an id of the file system (fanotify(7), FAN_REPORT_FID). True
// where that cannot be found out. Any thread. name_to_handle_at(2).
bool hasFileHandles(const std::string& path);

}  // namespace quillo

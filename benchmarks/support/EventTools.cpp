#include "benchmarks/support/EventTools.h"

#include <signal.h>

#include "benchmarks/support/StormFiles.h"

namespace bench {

EventTool::EventTool(Tool tool, std::string folder, const std::string& scratch)
    : tool_(tool), folder_(std::move(folder)), log_(scratch + "/" + name() + ".log") {}

std::string EventTool::name() const {
  return tool_ == Tool::inotifywait ? "inotifywait" : "fatrace";
}

void EventTool::start() {
  writeFile(log_, "");
  const std::vector<std::string> environment{"PATH=/usr/bin:/bin", "LC_ALL=C.UTF-8"};
  if (tool_ == Tool::inotifywait) {
    pid_ = bench::start({"/usr/bin/inotifywait", "--monitor", "--recursive", "--quiet", "--event",
                         "close_write", "--event", "moved_to", "--format", "%w%f", folder_},
                        environment, log_);
  } else {
    // The mount that it watches is that of its own folder.
    pid_ = bench::start(
        {"/bin/sh", "-c", "cd \"$1\" && exec fatrace --filter=W --current-mount", "sh", folder_},
        {"PATH=/usr/sbin:/usr/bin:/bin", "LC_ALL=C.UTF-8"}, log_, rootUser);
  }
}

void EventTool::stop() {
  end(pid_, SIGTERM);
  pid_ = -1;
}

}  // namespace bench

// What read(2) of a fanotify group returns.

#include <sys/fanotify.h>

#include "helper/Events.h"
#include "tests/fuzz/FuzzInput.h"

using namespace quillo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Behind what is parsed there is nothing that belongs to it: a copy shows who reads on.
  const std::string buffer(fuzz::textOf(data, size));
  const auto inside = [&buffer](std::string_view piece) {
    return piece.data() >= buffer.data() &&
           piece.data() + piece.size() <= buffer.data() + buffer.size();
  };
  const auto batch = helper::parseNamedEvents(buffer);
  fuzz::mustHold(batch.events.size() <= size / sizeof(fanotify_event_metadata),
                 "no more events than there is room for");
  for (const helper::NamedEvent& event : batch.events) {
    fuzz::mustHold(inside(event.folder) && inside(event.name), "events lie in the buffer");
    fuzz::mustHold(!event.name.empty() && event.name != ".", "an event has a name");
    fuzz::mustHold(event.name.find('\0') == std::string_view::npos, "a name ends at its zero");
    fuzz::mustHold(event.folder.size() >= 16, "a folder has an id and the head of a handle");
  }
  return 0;
}

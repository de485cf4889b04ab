#pragma once

#include <string>

#include "platform/Wording.h"

namespace quillo {

// Whether a program may be made set-user-ID root: only if nobody but root can write it or the
// folders above it, and it has one name only. A sticky folder that all can write, as /tmp, does not
// do: there anybody can give another program of root's the name that is asked for (link(2)). Empty
// when that holds; else the reason, for people ("/home/a belongs to a"). Mind that a command like
// "chown root FILE; chmod +s FILE" makes root's what another user wrote, and follows symbolic
// links: the file has to be root's before. Any thread.
Wording whyUnsafe(const std::string& path);

}  // namespace quillo

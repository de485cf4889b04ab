#pragma once

namespace quillo {

// Has this process end at once (SIGKILL), as by a crash, when SQLite is about to do its `step`th
// operation on a disk, counted from 1: write, cut, sync or delete a file, or map what it shares
// with others. With `isTorn` the first half of a write is done before. For a process that is there
// for this alone. sqlite.org/vfs.html.
void dieAtDiskOperation(int step, bool isTorn);

}  // namespace quillo

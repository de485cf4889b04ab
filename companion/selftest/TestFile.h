#pragma once

#include <string>
#include <vector>

namespace quillo {

// The harmless test file (the EICAR test file) under a name that nobody can guess, so that what
// bears it is this very file wherever it has got to, or a note that was made of it. Any thread.

// Returns a new name, or "" when the system gives no random numbers.
std::string newTestFileName();
// Writes it into the folder as a new file of this user's alone. Returns 0 or an errno.
int writeTestFile(const std::string& folder, const std::string& name);
// Removes it from the folder, and what was made of it there under a name that holds its own: what
// holds something else stays, but for the Trash's note of it. Returns the path of the first that
// could not be removed; "" when nothing is left.
std::string removeTestFile(const std::string& folder, const std::string& name);

}  // namespace quillo

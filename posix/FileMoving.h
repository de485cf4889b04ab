#pragma once

#include <cstdint>
#include <limits>
#include <string>

namespace quillo {

// Renames without replacing anything, in one step where the file system can (renameat2(2)), else by
// a second name and the end of the first. Only where there are no second names either could
// something that comes in between be replaced. Returns 0 or an errno: EEXIST when the name is
// taken, EXDEV when it lies on another file system. Any thread, as all below.
int renameWithoutReplacing(int fromFolder, const std::string& from, int toFolder,
                           const std::string& to);
// Gives what bears a path another name beside it that nothing bears: with ".aside" behind it, and
// with random letters too where that is taken. Returns 0 or an errno.
int moveAside(const std::string& path, std::string& aside);
// Copies all of an open file to where `target` stands, without moving the place of `source`, which
// somebody else may share. Returns 0 or an errno: EFBIG when it holds more than `longest` bytes.
int copyContents(int source, int target,
                 std::int64_t longest = std::numeric_limits<std::int64_t>::max());
// Takes the right to run an open file, for everybody, and set-user-ID and set-group-ID with it.
// Returns 0 or an errno.
int makeHarmless(int file);
// Returns a hidden name that nobody can foresee; "" when the system has no random bytes.
std::string secretName();
// Returns true when a name is made like those.
bool isSecretName(const std::string& name);

}  // namespace quillo

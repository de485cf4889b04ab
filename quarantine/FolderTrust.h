#pragma once

namespace quillo {

// Who may get at what lies in the quarantine folder besides its owner.
enum class FolderTrust { own, somebodyElses, othersMayWrite, cannotTell };

// Judges an open folder: it has to belong to this user, and nobody else may write to it, but for a
// group of which he is the only member, and where the sticky bit keeps others from taking or
// replacing anything. `cannotTell` sets errno. Any thread.
FolderTrust trustInFolder(int folder);

}  // namespace quillo

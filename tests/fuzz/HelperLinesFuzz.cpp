// The helper's output, and a path on its way through the filter of the watcher.

#include "platform/Folders.h"
#include "posix/Text.h"
#include "tests/fuzz/FuzzInput.h"
#include "watchers/PathFilter.h"

using namespace quillo;

namespace {

class Guarded final : public WatchedFolders, public TrashFolders {
 public:
  std::shared_ptr<const WatchedFolderList> getWatchedFolderList() override { return folders_; }
  std::shared_ptr<const SubdirectoryFlags> getCheckSubDirs() override { return flags_; }
  bool isEnclosedByTrash(const std::string& path) override {
    return path.find("/.Trash/") != std::string::npos;
  }

 private:
  const std::shared_ptr<const WatchedFolderList> folders_ =
      std::make_shared<WatchedFolderList>(WatchedFolderList{"/w/a/", "/w/flat/", "/w/notes"});
  const std::shared_ptr<const SubdirectoryFlags> flags_ = std::make_shared<SubdirectoryFlags>(
      SubdirectoryFlags{{"/w/a/", true}, {"/w/flat/", false}, {"/w/notes", true}});
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Guarded guarded;
  static PathFilter filter = [] {
    PathFilter made(guarded, guarded);
    made.setQuarantineFolder("/w/a/quarantine");
    made.refresh();
    return made;
  }();
  for (const std::string_view line : split(fuzz::textOf(data, size), '\n')) {
    const std::string path = pathOfLine(line);
    if (filter.passes(path)) {
      fuzz::mustHold(path.starts_with("/w/a/") || path.starts_with("/w/notes"),
                     "what passes is watched");
      fuzz::mustHold(!path.starts_with("/w/a/quarantine"), "nothing of the quarantine passes");
      fuzz::mustHold(!guarded.isEnclosedByTrash(path), "nothing of the trash passes");
    }
  }
  return 0;
}

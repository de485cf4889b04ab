#include "tests/desktop/support/session/LivedInHome.h"

#include <fcntl.h>

#include "history/HistoryStore.h"
#include "platform/SystemLog.h"
#include "posix/Clock.h"
#include "posix/PathOpening.h"
#include "posix/Text.h"
#include "quarantine/QuarantineStore.h"
#include "tests/desktop/support/session/UserSession.h"
#include "tools/clamdscan/MoveFolder.h"

namespace quillo {
namespace {

using std::chrono::hours;

constexpr const char* settingsText = R"(PathToClamav = "@HOME@/engine"
PathToUpdateLog = "@HOME@/update.log"
QuarantineFolder = "@HOME@/Quarantine/"
rotateScanlogWhenSizeReaches = 5120

[[QuilloFolderArray]]
pathName = "@HOME@/Letters"
WatchSubdirs = true
)";

constexpr const char* scannerText = R"(#!/bin/sh
judge() {
  case "$1" in
    */*unreachable*) echo "ERROR: Could not connect to clamd"; exit 2 ;;
    */*slow*) sleep 20; echo "$1: OK" ;;
    */*virus*) echo "$1: Eicar FOUND" ;;
    */*) echo "$1: OK" ;;
  esac
}
echo "$@" >>"${0%/bin/*}/calls"
for word; do
  case "$word" in
    --file-list=*) while read -r path; do judge "$path"; done <"${word#--file-list=}" ;;
    -*) ;;
    *) judge "$word" ;;
  esac
done
)";

constexpr const char* updaterText = R"(#!/bin/sh
echo updated >>"${0%/bin/*}/calls"
)";

// Opens whatever it is given.
constexpr const char* openerText = R"([Desktop Entry]
Type=Application
Name=Opener
Exec=@HOME@/opener %u
MimeType=text/plain;application/toml;text/x-log;application/octet-stream;inode/directory;
)";

constexpr const char* openersText = R"([Default Applications]
text/plain=opener.desktop
application/toml=opener.desktop
text/x-log=opener.desktop
application/octet-stream=opener.desktop
inode/directory=opener.desktop
)";

class NoLog final : public SystemLog {
 public:
  void log(std::string_view) override {}
};

HistoryResult leftInPlace(const std::string& path, WallTime time) {
  HistoryResult result;
  result.time = time;
  result.outcome = HistoryResult::Outcome::leftInPlace;
  result.path = path;
  result.says = "Eicar";
  return result;
}

}  // namespace

LivedInHome::LivedInHome() {
  folder_.write(preferences, replacingAll(settingsText, "@HOME@", path()));
  folder_.write("Letters/letter");
  folder_.write("update.log", "up to date");
  folder_.write("Library/Logs/VantrelQuillo-scan.log", "scanned");
  for (const char* name : {"virus.exe", "virus2.exe", "unreachable.doc", "slow.doc"}) {
    folder_.write(std::string("Downloads/") + name);
  }
  folder_.write("Downloads/empty.doc", "");
  writePrograms();
  fillQuarantine();
  writeHistory();
}

void LivedInHome::writePrograms() const {
  folder_.writeProgram("engine/bin/clamdscan", scannerText);
  folder_.writeProgram("engine/bin/freshclam", updaterText);
  folder_.writeProgram("opener", "#!/bin/sh\necho \"$1\" >>\"$HOME/opened\"\n");
  folder_.write(".local/share/applications/opener.desktop",
                replacingAll(openerText, "@HOME@", path()));
  folder_.write(".config/mimeapps.list", openersText);
}

// A file that is clean by now, and one that nobody has looked at since.
void LivedInHome::fillQuarantine() const {
  SystemClock clock;
  wrapper::MoveFolder mover(clock, wrapper::DesktopTrash("", ""));
  const std::string quarantine = path() + "/Quarantine";
  mover.open(quarantine);
  for (const char* name : {"contract.doc", "bad.exe"}) {
    const std::string file = folder_.write(std::string("Downloads/") + name);
    mover.move(file, openPath(file, O_RDONLY).get(), "Eicar");
  }
  const QuarantineStore store(
      quarantine, clock,
      [](const std::string&, const FileIdentity&, const std::string&) { return std::string(); });
  for (const QuarantinedFile& file : store.list().files) {
    if (file.formerName() == "contract.doc") {
      store.noteCheck(file, QuarantineRecord::Check::clean, "", clock.wallTime() + hours(1));
    }
  }
}

// What was found is as new as its file, whatever becomes of that until the test begins.
void LivedInHome::writeHistory() const {
  SystemClock clock;
  NoLog log;
  const WallTime now = clock.wallTime();
  HistoryStore store(path() + "/.local/state/vantrel", clock, log, {});
  HistoryResult moved = leftInPlace(path() + "/Downloads/bad.exe", now - hours(1));
  moved.outcome = HistoryResult::Outcome::quarantined;
  moved.detail = path() + "/Quarantine/bad.exe";
  HistoryResult leftOut = leftInPlace(path() + "/Downloads/letters.7z", now - hours(2));
  leftOut.kind = HistoryResult::Kind::notScanned;
  leftOut.outcome = HistoryResult::Outcome::unsaid;
  ScanRun run;
  run.id = makeRunId();
  run.started = now - hours(3);
  run.ended = run.started + hours(1);
  run.paths = {path() + "/Downloads"};
  run.notScanned = 1;
  leftOut.run = run.id;
  HistoryBatch batch;
  batch.changes = {leftInPlace("/gone/old.exe", now - hours(24 * 40)), leftOut, moved,
                   leftInPlace(path() + "/Downloads/virus.exe", now + hours(1)), run};
  batch.scanned[{calendarDayOf(now), "Letters"}] = {10, 1000};
  batch.scanned[{calendarDayOf(now - hours(48)), "Letters"}] = {20, 2000};
  store.write(batch);
}

void LivedInHome::serve(UserSession& session, const std::string& agent) {
  const std::string file = session.homeFolder() + "/started";
  session.addService("org.vantrel.VantrelQuillo",
                     "/bin/sh -c \"echo started >>" + file + "; " + agent + "\"");
  session.run({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus",
               "/org/freedesktop/DBus", "org.freedesktop.DBus.ReloadConfig"});
}

}  // namespace quillo

#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "clamav/Verdict.h"
#include "posix/UniqueFd.h"

namespace quillo {

// Beside the report, which is text for people, the tree's own scanner reports to whoever runs it
// what the text cannot carry: the bytes of a path, the file behind a link, what became of an
// infected file. It does so over a stream socket (unix(7)) whose number stands in this variable of
// its environment. A scanner of another tree knows nothing of it, and says nothing there.
//
// Each record is a 32-bit length and that many bytes: a letter and then fields of 32-bit length and
// bytes, in the byte order of the machine. "H" says that the scanner knows the channel. "V" is the
// verdict of a line and is sent before that line. One whose file is about to be moved is answered,
// as soon as the reader has the line, with its number among those; the file moves only then, and
// "O" follows with what became of it. The number with its highest bit set says that the file has to
// stay. "P" says how far the scan has come, a few times a second at most, but only to who asks for
// it by a second variable. Letters and fields that one side does not know are passed over, and
// fields that it misses are empty: a tree's scanner may be older than its reader, or newer.
inline constexpr const char* verdictChannelVariable = "VANTREL_VERDICTS";
// Any value asks for "P", and has the scanner take SIGTSTP as the wish that it hand out no more
// files, until SIGCONT, and not as one that stops its process.
inline constexpr const char* scanProgressVariable = "VANTREL_PROGRESS";

// How far a scan has come.
struct ScanProgress {
  std::uint64_t clean = 0;
  std::uint64_t found = 0;
  std::uint64_t notScanned = 0;
  std::uint64_t bytes = 0;       // of all these
  std::string path;              // the one judged last: its bytes
  bool holds = false;            // a pause has begun: the daemon has none of the files any more
  std::uint64_t cleanBytes = 0;  // of the clean ones

  std::uint64_t files() const { return clean + found + notScanned; }
  bool operator==(const ScanProgress&) const = default;
};

// The scanner's end. One thread.
class VerdictSender {
 public:
  // The longest that a reader may take to say that it has a line.
  static constexpr std::chrono::seconds patience{30};

  explicit VerdictSender(UniqueFd socket);
  // Returns the channel that the environment names, made close-on-exec; nothing when it names none
  // that is a socket.
  static std::optional<VerdictSender> fromEnvironment();

  // Hands a verdict over, to be followed by its line.
  void report(const Verdict& verdict);
  // Hands over the verdict on an infected file that is to be moved, to be followed by its line.
  void announceMove(const Verdict& verdict);
  // Waits until the reader has that line. Returns false when it is gone, has not taken the line
  // within `wait` or wants the file to stay.
  bool mayMove(std::chrono::milliseconds wait = patience);
  // Returns true when the reader answered that it wants the file to stay.
  bool wasRefused() const { return refused_; }
  // Reports what became of the file: `whereabouts`, `reason` and `destination`.
  void reportOutcome(const Verdict& verdict);
  // Returns whether the reader asked for progress, and hands it over.
  bool wantsProgress() const { return wantsProgress_; }
  void reportProgress(const ScanProgress& progress);
  // Polls as hung up (POLLHUP) when the reader ends.
  int descriptor() const { return socket_.get(); }

 private:
  void send(char type, const Verdict& verdict, bool moves);
  void sendRecord(const std::string& body);

  UniqueFd socket_;
  std::uint32_t announced_ = 0;
  bool refused_ = false;
  bool wantsProgress_ = false;
  std::string answers_;  // read, but not whole yet
};

// The reader's end. One thread.
class VerdictReceiver {
 public:
  // The longest that a move may take. A file of the largest size that the engine takes is read and
  // copied to a slow stick in less.
  static constexpr std::chrono::minutes longestMove{15};

  // Returns nothing when no socket can be had; the report then stands alone. A move of which
  // nothing is heard within `moveWait` is one whose end nobody knows.
  static std::optional<VerdictReceiver> make(std::chrono::milliseconds moveWait = longestMove);

  // Returns the end for the scanner. letGo() follows once the scanner has been started: the
  // scanner's end alone then keeps the channel open.
  int scannersEnd() const { return scanners_.get(); }
  void letGo() { scanners_.reset(); }

  // Has `handler` called with what the scanner says of its progress, on the thread that reads the
  // channel. The scanner has to be asked for it in its environment.
  using ProgressHandler = std::function<void(const ScanProgress& progress)>;
  void setProgressHandler(ProgressHandler handler) { onProgress_ = std::move(handler); }
  bool takesProgress() const { return onProgress_ != nullptr; }

  // Returns what is known of a line of the report: from the channel where the scanner uses it, else
  // from the line alone. Lets the scanner move a file that it is about to move, unless `mayMove` is
  // given and forbids it, and waits until it has said what became of it, has ended, or has taken
  // too long; then its whereabouts are unsaid.
  Verdict understand(std::string_view line,
                     const std::function<bool(const Verdict& infection)>& mayMove = {});

  // For whoever reads lines in chunks, after each chunk: takes in once what came ahead of its
  // lines. understand() then looks for no more by itself.
  void chunkRead();

  // drain() has to be called whenever descriptor() can be read, or a scanner with much to report
  // waits for ever: for this reader, which waits for its report. Returns false when there is no
  // more to come.
  int descriptor() const { return own_.get(); }
  bool drain();

 private:
  struct Record {
    char type = 0;
    std::uint32_t move = 0;  // its number, if its file is about to be moved
    Verdict verdict;
  };

  VerdictReceiver(UniqueFd own, UniqueFd scanners, std::chrono::milliseconds moveWait);
  // Takes in what has come; waits so long for at least one record, unless the scanner has ended.
  void receive(std::chrono::milliseconds wait);
  bool canBeRead(std::chrono::steady_clock::time_point deadline) const;
  void takeRecords();
  void takeRecord(std::string_view body);
  // Takes the record of this line out, and those before it, whose lines never came.
  std::optional<Record> takeRecordOf(std::string_view line);
  void awaitOutcome(Record& record, bool mayMove);

  UniqueFd own_;
  UniqueFd scanners_;
  std::chrono::milliseconds moveWait_;
  std::string bytes_;
  std::deque<Record> records_;
  ProgressHandler onProgress_;
  std::uint32_t moves_ = 0;
  bool spoken_ = false;  // of some line
  bool readsChunks_ = false;
  bool ended_ = false;
};

}  // namespace quillo

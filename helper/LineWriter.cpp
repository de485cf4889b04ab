#include "helper/LineWriter.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <climits>

#include "helper/Failure.h"
#include "posix/Text.h"

namespace quillo::helper {
namespace {

using std::string_view;

// What is put between a folder and a file name; empty as a rule.
string_view between(string_view folder, string_view name) {
  return name == "rsrc" && folder.ends_with("/..namedfork/") ? "./" : "";
}

}  // namespace

void appendSpelled(std::string& line, string_view folder, string_view name) {
  const size_t start = line.size();
  line.append(folder).append(between(folder, name)).append(name);
  if (line.find('\n', start) != std::string::npos) {
    line.replace(start, std::string::npos, escapedPathLine(line.substr(start)));
  }
}

size_t spelledLength(string_view folder, string_view name) {
  std::string line;
  appendSpelled(line, folder, name);
  return line.size();
}

bool LineWriter::add(std::string_view folder, std::string_view name) {
  if (folder.size() + name.size() >= PATH_MAX) return false;
  const size_t length = spelledLength(folder, name) + 1;
  if (length_ + length > PIPE_BUF) flush();
  paths_.push_back({folder.size(), name.size()});
  collected_.append(folder).append(name);
  length_ += length;
  return true;
}

// A pipe that is ready takes PIPE_BUF bytes at once, so that it never is write() that blocks.
void LineWriter::waitForRoom() const {
  std::array<pollfd, 2> waiting{pollfd{fd_, POLLOUT, 0}, pollfd{end_, POLLIN, 0}};
  while (poll(waiting.data(), waiting.size(), -1) < 0) {
    if (errno != EINTR) throw systemFailure("waiting for standard output");
  }
  if (waiting[1].revents != 0) throw ReaderGone();
}

// Then it takes a longer line at once too. Of what is no pipe nothing is expected.
void LineWriter::waitUntilEmpty() const {
  constexpr int milliseconds = 2;
  int waiting = 0;
  while (ioctl(fd_, FIONREAD, &waiting) == 0 && waiting > 0) {
    pollfd end{end_, POLLIN, 0};
    if (poll(&end, 1, milliseconds) > 0) throw ReaderGone();
    waitForRoom();
  }
}

void LineWriter::spellWhatIsSeen() {
  lines_.clear();
  std::string_view rest = collected_;
  for (const Path& path : paths_) {
    const std::string_view folder = rest.substr(0, path.folder);
    const std::string_view name = rest.substr(path.folder, path.name);
    rest.remove_prefix(path.folder + path.name);
    if (!witness_.sees(folder, name)) continue;
    appendSpelled(lines_, folder, name);
    lines_ += '\n';
  }
  // Nothing stays open, and so busy, any longer.
  witness_.forget();
}

// The number of bytes that were taken, maybe 0.
size_t LineWriter::writeSome(string_view bytes) {
  const ssize_t wrote = write(fd_, bytes.data(), bytes.size());
  if (wrote >= 0) return static_cast<size_t>(wrote);
  if (errno == EPIPE) throw ReaderGone();
  if (errno != EINTR && errno != EAGAIN) throw systemFailure("writing to standard output");
  return 0;
}

void LineWriter::flush() {
  size_t done = 0;
  while (!paths_.empty()) {
    waitForRoom();
    if (done == 0 && length_ > PIPE_BUF) waitUntilEmpty();
    // Once a line was begun it is to be ended.
    if (done == 0) spellWhatIsSeen();
    if (!lines_.empty()) {
      done += writeSome(string_view(lines_).substr(done));
      hasWritten_ = true;
    }
    if (done < lines_.size()) continue;
    paths_.clear();
    collected_.clear();
    length_ = 0;
  }
}

bool LineWriter::mark() {
  if (writeSome("\n") == 0) return false;
  hasWritten_ = false;
  return true;
}

}  // namespace quillo::helper

#include "tools/newsyslog/Bzip2.h"

#include <bzlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "posix/UniqueFd.h"

namespace quillo {
namespace {

using Buffer = std::array<char, 65536>;

constexpr int blockSize = 9;  // the best compression; 7.6 MB of memory

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::size_t readInto(int file, Buffer& buffer) {
  const ssize_t count = readSome(file, buffer.data(), buffer.size());
  if (count < 0) {
    fail("cannot read");
  }
  return static_cast<std::size_t>(count);
}

class Compressor {
 public:
  Compressor() {
    if (BZ2_bzCompressInit(&stream_, blockSize, 0, 0) != BZ_OK) {
      throw std::system_error(ENOMEM, std::generic_category(), "cannot compress");
    }
  }
  ~Compressor() { BZ2_bzCompressEnd(&stream_); }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  void add(char* data, std::size_t size, int archive) {
    stream_.next_in = data;
    stream_.avail_in = static_cast<unsigned>(size);
    while (stream_.avail_in > 0) {
      pump(BZ_RUN, archive);
    }
  }
  void finish(int archive) {
    while (pump(BZ_FINISH, archive) != BZ_STREAM_END) {
    }
  }

 private:
  int pump(int action, int archive) {
    Buffer output;
    stream_.next_out = output.data();
    stream_.avail_out = output.size();
    const int result = BZ2_bzCompress(&stream_, action);
    if (!writeAll(archive, {output.data(), output.size() - stream_.avail_out})) {
      fail("cannot write");
    }
    return result;
  }

  bz_stream stream_ = {};
};

// Reads the content of an archive of one or several streams, piece by piece.
class Decompressor {
 public:
  explicit Decompressor(int archive) : archive_(archive) { begin(); }
  ~Decompressor() { BZ2_bzDecompressEnd(&stream_); }
  Decompressor(const Decompressor&) = delete;
  Decompressor& operator=(const Decompressor&) = delete;

  // 0 at the end.
  std::size_t next(Buffer& output) {
    stream_.next_out = output.data();
    stream_.avail_out = output.size();
    while (stream_.avail_out == output.size()) {
      if (stream_.avail_in == 0 && !refill()) {
        if (inStream_) {
          refuse();
        }
        return 0;
      }
      step();
    }
    return output.size() - stream_.avail_out;
  }

 private:
  [[noreturn]] static void refuse() {
    throw std::system_error(EBADMSG, std::generic_category(), "not a whole bzip2 file");
  }
  void begin() {
    if (BZ2_bzDecompressInit(&stream_, 0, 0) != BZ_OK) {
      throw std::system_error(ENOMEM, std::generic_category(), "cannot decompress");
    }
    inStream_ = false;
  }
  bool refill() {
    stream_.avail_in = static_cast<unsigned>(readInto(archive_, input_));
    stream_.next_in = input_.data();
    return stream_.avail_in > 0;
  }
  void step() {
    inStream_ = true;
    const int result = BZ2_bzDecompress(&stream_);
    if (result == BZ_STREAM_END) {
      const bz_stream before = stream_;
      BZ2_bzDecompressEnd(&stream_);
      stream_ = {};
      begin();
      stream_.next_in = before.next_in;
      stream_.avail_in = before.avail_in;
      stream_.next_out = before.next_out;
      stream_.avail_out = before.avail_out;
    } else if (result != BZ_OK) {
      refuse();
    }
  }

  int archive_;
  bool inStream_ = false;
  bz_stream stream_ = {};
  Buffer input_;
};

}  // namespace

std::uint64_t compressTo(int plain, int archive) {
  Compressor compressor;
  Buffer buffer;
  std::uint64_t total = 0;
  while (const std::size_t count = readInto(plain, buffer)) {
    compressor.add(buffer.data(), count, archive);
    total += count;
  }
  compressor.finish(archive);
  return total;
}

bool beginsWithArchive(int plain, int archive) {
  Decompressor decompressor(archive);
  Buffer old;
  Buffer piece;
  std::size_t have = 0;
  std::size_t used = 0;
  while (const std::size_t count = decompressor.next(old)) {
    for (std::size_t compared = 0; compared < count;) {
      if (used == have) {
        have = readInto(plain, piece);
        used = 0;
        if (have == 0) {
          return false;
        }
      }
      const std::size_t length = std::min(count - compared, have - used);
      if (std::memcmp(old.data() + compared, piece.data() + used, length) != 0) {
        return false;
      }
      compared += length;
      used += length;
    }
  }
  return true;
}

}  // namespace quillo

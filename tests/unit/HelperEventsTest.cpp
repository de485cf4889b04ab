#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/fanotify.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "helper/Events.h"

namespace quillo::helper {
namespace {

template <typename Record>
std::string bytesOf(const Record& record) {
  return std::string(reinterpret_cast<const char*>(&record), sizeof(record));
}

std::string event(std::uint64_t mask, int fd, const std::string& records) {
  fanotify_event_metadata head{};
  head.event_len = static_cast<unsigned>(sizeof(head) + records.size());
  head.vers = FANOTIFY_METADATA_VERSION;
  head.metadata_len = sizeof(head);
  head.mask = mask;
  head.fd = fd;
  head.pid = 42;
  return bytesOf(head) + records;
}

// As the kernel lays it out: id, handle, name, zeros up to a multiple of four bytes.
std::string record(const std::string& name, unsigned handleBytes = 8,
                   int type = FAN_EVENT_INFO_TYPE_DFID_NAME) {
  const unsigned handle[] = {handleBytes, 1, 0x01020304, 0x05060708};
  std::string body = "FSIDFSID" + bytesOf(handle) + name + '\0';
  body.resize((body.size() + 3) / 4 * 4);
  fanotify_event_info_header head{};
  head.info_type = static_cast<unsigned char>(type);
  head.len = static_cast<unsigned short>(sizeof(head) + body.size());
  return bytesOf(head) + body;
}

TEST(NamedEvents, GiveProcessFolderAndName) {
  const std::string buffer = event(FAN_CREATE, FAN_NOFD, record("file")) +
                             event(FAN_MODIFY, FAN_NOFD, record("another one"));
  const auto batch = parseNamedEvents(buffer);
  ASSERT_EQ(batch.events.size(), 2U);
  EXPECT_EQ(batch.events[0].process, 42);
  EXPECT_EQ(batch.events[0].name, "file");
  EXPECT_EQ(batch.events[0].folder.substr(0, 8), "FSIDFSID");
  EXPECT_EQ(batch.events[0].folder.size(), 8U + 8U + 8U);
  EXPECT_EQ(batch.events[1].name, "another one");
  EXPECT_FALSE(batch.events[1].isFolder);
  EXPECT_FALSE(batch.overflowed);
}

TEST(NamedEvents, AreKeptForFoldersOnlyIfTheyWereMoved) {
  const std::string buffer = event(FAN_CREATE | FAN_ONDIR, FAN_NOFD, record("made")) +
                             event(FAN_MOVED_TO | FAN_ONDIR, FAN_NOFD, record("moved"));
  const auto batch = parseNamedEvents(buffer);
  ASSERT_EQ(batch.events.size(), 1U);
  EXPECT_EQ(batch.events[0].name, "moved");
  EXPECT_TRUE(batch.events[0].isFolder);
}

TEST(NamedEvents, AreFoundBehindOtherRecords) {
  const std::string other = record("x", 8, FAN_EVENT_INFO_TYPE_FID);
  const std::string buffer = event(FAN_CREATE, FAN_NOFD, other + record("file"));
  const auto batch = parseNamedEvents(buffer);
  ASSERT_EQ(batch.events.size(), 1U);
  EXPECT_EQ(batch.events[0].name, "file");
}

TEST(NamedEvents, LeaveOutTheFolderItselfAndNamelessOnes) {
  const std::string buffer = event(FAN_MODIFY, FAN_NOFD, record(".")) +
                             event(FAN_MODIFY, FAN_NOFD, record("")) +
                             event(FAN_MODIFY, FAN_NOFD, "");
  EXPECT_TRUE(parseNamedEvents(buffer).events.empty());
}

TEST(NamedEvents, SayThatTheQueueOverflowed) {
  EXPECT_TRUE(parseNamedEvents(event(FAN_Q_OVERFLOW, FAN_NOFD, "")).overflowed);
  EXPECT_TRUE(parsePlainEvents(event(FAN_Q_OVERFLOW, FAN_NOFD, "")).overflowed);
}

TEST(NamedEvents, AreNeverReadBeyondTheBuffer) {
  const std::string whole = event(FAN_CREATE, FAN_NOFD, record("file"));
  for (size_t length = 0; length < whole.size(); ++length) {
    // On the heap, so that a sanitizer sees the end.
    const std::string cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_TRUE(parseNamedEvents(cut).events.empty()) << length;
  }
  for (const unsigned bytes : {9U, 20U, 128U, 4000U, 0xffffffffU}) {
    for (const NamedEvent& event :
         parseNamedEvents(event(FAN_CREATE, FAN_NOFD, record("file", bytes))).events) {
      EXPECT_LT(event.name.size(), 4U) << bytes;
    }
  }
}

TEST(NamedEvents, WithWrongLengthsEndTheBatch) {
  for (const unsigned length : {0U, 1U, 23U, 10'000U}) {
    std::string buffer = event(FAN_CREATE, FAN_NOFD, record("file"));
    std::memcpy(buffer.data(), &length, sizeof(length));
    EXPECT_TRUE(parseNamedEvents(buffer).events.empty()) << length;
  }
}

TEST(PlainEvents, OwnTheirDescriptors) {
  const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  {
    const auto batch =
        parsePlainEvents(event(FAN_MODIFY, fd, "") + event(FAN_MODIFY, FAN_NOFD, ""));
    ASSERT_EQ(batch.events.size(), 1U);
    EXPECT_EQ(batch.events[0].file.get(), fd);
    EXPECT_EQ(batch.events[0].process, 42);
  }
  EXPECT_LT(fcntl(fd, F_GETFD), 0);
}

}  // namespace
}  // namespace quillo::helper

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <iterator>

#include "engine/ClamdCtrl.h"
#include "posix/UniqueFd.h"
#include "tests/fakes/desktop/FakeServices.h"
#include "tests/fakes/engine/FakeClamd.h"
#include "tests/support/StdoutCapture.h"
#include "tests/support/SystemCalls.h"
#include "tests/support/TemporaryFolder.h"

namespace quillo {
namespace {

using namespace std::string_literals;
using Behaviour = FakeClamd::Behaviour;

std::ptrdiff_t openDescriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return std::distance(entries, std::filesystem::directory_iterator());
}

class ClamdCtrlTest : public testing::Test {
 protected:
  std::string socketPath() const { return folder.path() + "/clamd.ctl"; }
  // As long as asked for, in a folder of the test's own.
  std::string pathOfLength(std::size_t length) const {
    const std::string start = folder.path() + "/";
    return start + std::string(length - start.size(), 's');
  }
  bool send(const std::optional<std::string>& path, const std::string& command) {
    StdoutCapture capture;
    const bool taken = controller.communicateWithSocketWithCommand(path, command);
    printed = capture.text();
    return taken;
  }

  TemporaryFolder folder;
  FakeSystemLog log;
  ClamdCtrl controller{log};
  std::string printed;
};

TEST_F(ClamdCtrlTest, WithoutAPathOnlyLogsOneLineAndCountsAsSuccess) {
  EXPECT_TRUE(send(std::nullopt, "PING"));
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{
                "Please email this line to support@vantrel.org >In ClamdCtrl, pathToSocket is nil, "
                "command is PING< Please also include the file at "
                "/usr/local/vantrel/etc/clamd.conf"});
  EXPECT_EQ(printed, "");
}

TEST_F(ClamdCtrlTest, WithoutAPathMakesNoSocket) {
  withFailingSystemCall(SYS_socket, EMFILE, [this] { EXPECT_TRUE(send(std::nullopt, "QUIT")); });
  EXPECT_EQ(printed, "");
}

TEST_F(ClamdCtrlTest, WritesFourLettersAndTwoZeroBytes) {
  FakeClamd daemon(socketPath());
  EXPECT_TRUE(send(socketPath(), "PING"));
  EXPECT_TRUE(send(socketPath(), "QUIT"));
  const auto visits = daemon.visits(2);
  ASSERT_EQ(visits.size(), 2U);
  EXPECT_EQ(visits[0].bytes, "PING\0\0"s);
  EXPECT_EQ(visits[1].bytes, "QUIT\0\0"s);
  EXPECT_EQ(printed, "");
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ClamdCtrlTest, WritesSixBytesWhateverTheCommandsLength) {
  FakeClamd daemon(socketPath());
  EXPECT_TRUE(send(socketPath(), "CONTSCAN"));
  EXPECT_TRUE(send(socketPath(), "A"));
  const auto visits = daemon.visits(2);
  ASSERT_EQ(visits.size(), 2U);
  EXPECT_EQ(visits[0].bytes, "CONTSC");
  EXPECT_EQ(visits[1].bytes, "A\0\0\0\0\0"s);
}

TEST_F(ClamdCtrlTest, ReportsASocketThatIsNotThere) {
  EXPECT_FALSE(send(socketPath(), "PING"));
  EXPECT_EQ(printed, "Error, can't connect to clamd through " + socketPath() +
                         ".\nconnect(): No such file or directory\n");
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(ClamdCtrlTest, ReportsASocketWithoutAListener) {
  { FakeClamd gone(socketPath()); }
  EXPECT_FALSE(send(socketPath(), "PING"));
  EXPECT_EQ(printed, "Error, can't connect to clamd through " + socketPath() +
                         ".\nconnect(): Connection refused\n");
}

TEST_F(ClamdCtrlTest, CutsAPathAt104Bytes) {
  FakeClamd daemon(pathOfLength(104));
  EXPECT_TRUE(send(pathOfLength(104), "PING"));
  EXPECT_TRUE(send(pathOfLength(106), "PING"));
  EXPECT_EQ(daemon.visits(2).size(), 2U);
}

TEST_F(ClamdCtrlTest, NamesAPathThatItCutInFull) {
  EXPECT_FALSE(send(pathOfLength(120), "PING"));
  EXPECT_EQ(printed.substr(0, printed.find('\n')),
            "Error, can't connect to clamd through " + pathOfLength(120) + ".");
}

TEST_F(ClamdCtrlTest, TakesAPathThatIsNotAsciiForAnEmptyOne) {
  FakeClamd daemon(folder.path() + "/ü");
  EXPECT_FALSE(send(folder.path() + "/ü", "PING"));
  EXPECT_EQ(printed.substr(0, printed.find('\n')), "Error, can't connect to clamd through .");
}

TEST_F(ClamdCtrlTest, ConnectsToNoAbstractNameForAnEmptyPath) {
  // What an empty path names in an address of full length (unix(7)): all its bytes are zero.
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const UniqueFd stranger(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(bind(stranger.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(stranger.get(), 1), 0);
  EXPECT_FALSE(send("", "PING"));
  EXPECT_EQ(printed, "Error, can't connect to clamd through .\nconnect(): Invalid argument\n");
}

TEST_F(ClamdCtrlTest, SendsNothingToASocketInAFolderThatOthersMayWrite) {
  FakeClamd daemon(socketPath());
  ASSERT_EQ(chmod(folder.path().c_str(), 0777), 0);
  EXPECT_FALSE(send(socketPath(), "PING"));
  EXPECT_EQ(printed, "Error, can't connect to clamd through " + socketPath() +
                         ".\nconnect(): Operation not permitted\n");
  EXPECT_EQ(log.lines(),
            std::vector<std::string>{"No PING is sent to the socket \"" + socketPath() +
                                     "\": others may write to its folder"});
}

TEST_F(ClamdCtrlTest, SendsNothingToAListenerWhoIsNotTrusted) {
  FakeClamd daemon(socketPath());
  const StdoutCapture quiet;
  EXPECT_FALSE(controller.communicateWithSocketWithCommand(socketPath(), "PING",
                                                           {{geteuid() + 1}, nullptr}));
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(ClamdCtrlTest, SendsNothingToAProcessThatIsNotMeant) {
  FakeClamd daemon(socketPath());
  pid_t asked = 0;
  EXPECT_FALSE(controller.communicateWithSocketWithCommand(
      socketPath(), "QUIT", {trustedDaemonUsers(), [&asked](pid_t process) {
                               asked = process;
                               return false;
                             }}));
  EXPECT_EQ(asked, getpid());
  ASSERT_EQ(daemon.visits(1).size(), 1U);
  EXPECT_EQ(daemon.visits(1)[0].bytes, "");
}

TEST_F(ClamdCtrlTest, ADaemonThatClosesWithoutAReplyIsAlive) {
  FakeClamd daemon(socketPath(), Behaviour::closesAtOnce);
  EXPECT_TRUE(send(socketPath(), "PING"));
  EXPECT_EQ(printed, "");
}

TEST_F(ClamdCtrlTest, ReadsAReplyOnceAndAtMostTwentyBytesOfIt) {
  FakeClamd talkative(socketPath(), Behaviour::answersAtLength);
  EXPECT_TRUE(send(socketPath(), "PING"));
  ASSERT_EQ(talkative.visits(1).size(), 1U);
  EXPECT_TRUE(talkative.visits(1)[0].leftAnswerUnread);
}

TEST_F(ClamdCtrlTest, ReadsAShortReplyWhole) {
  FakeClamd daemon(socketPath());
  EXPECT_TRUE(send(socketPath(), "PING"));
  ASSERT_EQ(daemon.visits(1).size(), 1U);
  EXPECT_FALSE(daemon.visits(1)[0].leftAnswerUnread);
}

TEST_F(ClamdCtrlTest, ReportsThatNoSocketCanBeMade) {
  withFailingSystemCall(SYS_socket, EMFILE, [this] { EXPECT_FALSE(send(socketPath(), "PING")); });
  EXPECT_EQ(printed, "Error, can't create socket endpoint for " + socketPath() +
                         ".\nsocket(): Too many open files\n");
}

TEST_F(ClamdCtrlTest, ReportsACommandThatCannotBeWritten) {
  FakeClamd daemon(socketPath(), Behaviour::closesAtOnce);
  withFailingSystemCall(SYS_sendto, EPIPE, [this] { EXPECT_FALSE(send(socketPath(), "PING")); });
  EXPECT_EQ(printed, "Error, could not write to UNIX socket\nwrite(): Broken pipe\n");
}

TEST_F(ClamdCtrlTest, LeavesNoDescriptorOpenOnAnyPath) {
  FakeClamd daemon(socketPath(), Behaviour::closesAtOnce);
  const auto before = openDescriptors();
  EXPECT_TRUE(send(socketPath(), "PING"));
  EXPECT_FALSE(send(folder.path() + "/none", "PING"));
  withFailingSystemCall(SYS_sendto, EPIPE, [this] { EXPECT_FALSE(send(socketPath(), "PING")); });
  EXPECT_EQ(daemon.visits(2).size(), 2U);
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace quillo

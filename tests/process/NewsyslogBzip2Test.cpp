#include <fcntl.h>
#include <gtest/gtest.h>

#include <system_error>

#include "posix/UniqueFd.h"
#include "tests/fakes/tools/LogSandbox.h"
#include "tools/newsyslog/Bzip2.h"

namespace quillo {
namespace {

class Bzip2Files : public testing::Test {
 protected:
  void pack(const std::string& name, const std::string& content, bool append = false) const {
    sandbox.write("plain", content);
    const UniqueFd plain(open(sandbox.path("plain").c_str(), O_RDONLY | O_CLOEXEC));
    const UniqueFd archive(open(sandbox.path(name).c_str(),
                                O_WRONLY | O_CREAT | O_CLOEXEC | (append ? O_APPEND : O_TRUNC),
                                0600));
    EXPECT_EQ(compressTo(plain.get(), archive.get()), content.size());
  }
  bool begins(const std::string& content, const std::string& archive) const {
    sandbox.write("compared", content);
    const UniqueFd plain(open(sandbox.path("compared").c_str(), O_RDONLY | O_CLOEXEC));
    const UniqueFd packed(open(sandbox.path(archive).c_str(), O_RDONLY | O_CLOEXEC));
    return beginsWithArchive(plain.get(), packed.get());
  }

  LogSandbox sandbox;
};

TEST_F(Bzip2Files, AreReadByBzip2) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{3000000}}) {
    const std::string content = LogSandbox::lines(1, size);
    pack("a.bz2", content);
    EXPECT_EQ(sandbox.unpacked("a.bz2"), content);
  }
}

TEST_F(Bzip2Files, MayHoldSeveralStreams) {
  const std::string first = LogSandbox::lines(1, 200000);
  pack("a.bz2", first);
  pack("a.bz2", "more", true);
  EXPECT_EQ(sandbox.unpacked("a.bz2"), first + "more");
  EXPECT_TRUE(begins(first + "more and more", "a.bz2"));
  EXPECT_FALSE(begins(first + "mor", "a.bz2"));
}

TEST_F(Bzip2Files, AreComparedWithTheBeginningOfAFile) {
  const std::string content = LogSandbox::lines(1, 300000);
  pack("a.bz2", content);
  EXPECT_TRUE(begins(content, "a.bz2"));
  EXPECT_TRUE(begins(content + "x", "a.bz2"));
  EXPECT_FALSE(begins(content.substr(1), "a.bz2"));
  EXPECT_FALSE(begins("", "a.bz2"));
}

TEST_F(Bzip2Files, AreRefusedWhenTheyAreCutOrSomethingElse) {
  const std::string content = LogSandbox::lines(1, 300000);
  pack("a.bz2", content);
  const std::string archive = sandbox.read("a.bz2");
  sandbox.write("cut.bz2", archive.substr(0, archive.size() / 2));
  EXPECT_THROW(begins(content, "cut.bz2"), std::system_error);
  sandbox.write("other.bz2", "not compressed");
  EXPECT_THROW(begins(content, "other.bz2"), std::system_error);
  sandbox.write("empty.bz2", "");
  EXPECT_TRUE(begins(content, "empty.bz2"));
}

}  // namespace
}  // namespace quillo

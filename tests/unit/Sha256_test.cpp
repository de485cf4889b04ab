#include "posix/Sha256.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include "posix/UniqueFd.h"
#include "tests/fakes/TemporaryFolder.h"

namespace quillo {
namespace {

std::string hashOf(std::string_view bytes) {
  Sha256 hash;
  hash.add(bytes);
  return hash.end();
}

constexpr const char* ofAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

// The standard's own examples, and one of every length around the end of a block from another
// implementation (sha256sum(1)).
TEST(Sha256Test, IsTheStandards) {
  EXPECT_EQ(hashOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(hashOf("abc"), ofAbc);
  EXPECT_EQ(hashOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(hashOf(std::string(1000000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
  EXPECT_EQ(hashOf(std::string(55, 'x')),
            "d5e285683cd4efc02d021a5c62014694958901005d6f71e89e0989fac77e4072");
  EXPECT_EQ(hashOf(std::string(56, 'x')),
            "04c26261370ee7541549d16dee320c723e3fd14671e66a099afe0a377c16888e");
  EXPECT_EQ(hashOf(std::string(63, 'x')),
            "75220b47218278e656f2013bb8f0c455a25eaf01e86c64924e9d48d89776d6f2");
  EXPECT_EQ(hashOf(std::string(64, 'x')),
            "7ce100971f64e7001e8fe5a51973ecdfe1ced42befe7ee8d5fd6219506b5393c");
  EXPECT_EQ(hashOf(std::string(65, 'x')),
            "9537c5fdf120482f7d58d25e9ed583f52c02b4e304ea814db1633ad565aed7e9");
  EXPECT_EQ(hashOf(std::string(119, 'x')),
            "000b48d4edf0fa7bee3c6236ecd2785baa5db4eeb8bb54341b029e0d9fa5fb0c");
  EXPECT_EQ(hashOf(std::string(120, 'x')),
            "13f05a0b594787f5ecd315edc96141bd3243203d1b7d4f0836f37308b276ba98");
  EXPECT_EQ(hashOf(std::string(128, 'x')),
            "24da1b81d0b16df6428eee73c69fcb2a93c76bc6df706f0c6670fe6bfe800464");
}

TEST(Sha256Test, DoesNotDependOnThePiecesThatTheBytesComeIn) {
  const std::string bytes(1000, 'x');
  for (const std::size_t piece : {1U, 7U, 63U, 64U, 65U, 999U}) {
    Sha256 hash;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      hash.add(std::string_view(bytes).substr(at, piece));
    }
    EXPECT_EQ(hash.end(), hashOf(bytes)) << piece;
  }
}

TEST(Sha256Test, OfAFileIsOfAllOfItOrOfNothing) {
  const TemporaryFolder folder;
  const UniqueFd file(open(folder.write("file", "abc").c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(sha256OfFile(file.get(), 3), ofAbc);
  EXPECT_EQ(sha256OfFile(file.get(), 2), std::nullopt);
  const UniqueFd itself(open(folder.path().c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(sha256OfFile(itself.get(), 100), std::nullopt);
}

}  // namespace
}  // namespace quillo

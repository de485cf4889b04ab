#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "posix/FileIdentity.h"
#include "posix/UniqueFd.h"

namespace quillo {
namespace {

UniqueFd fileWith(const std::string& contents) {
  UniqueFd file(memfd_create("hashed", MFD_CLOEXEC));
  EXPECT_EQ(write(file.get(), contents.data(), contents.size()),
            static_cast<ssize_t>(contents.size()));
  return file;
}

// The values of FIPS 180-4's examples.
TEST(Sha256, IsThatOfTheStandard) {
  EXPECT_EQ(sha256OfFile(fileWith("").get(), 0),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(sha256OfFile(fileWith("abc").get(), 3),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Sha256, IsOfTheWholeFileWhereverItWasReadTo) {
  const UniqueFd file = fileWith(std::string(1000000, 'a'));
  EXPECT_EQ(sha256OfFile(file.get(), 1000000),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, IsNotTakenOfMoreThanWasAllowed) {
  EXPECT_EQ(sha256OfFile(fileWith("abcd").get(), 3), std::nullopt);
}

TEST(Sha256, IsNotTakenOfWhatCannotBeRead) { EXPECT_EQ(sha256OfFile(-1, 100), std::nullopt); }

}  // namespace
}  // namespace quillo

#include <cerrno>

#include "posix/PlatformException.h"

namespace quillo {
namespace {

using Kind = PlatformException::Kind;

Kind kindOf(int error) { return PlatformException::ofSystemCall("Name", "what", error).kind(); }

TEST(PlatformException, BearsTheKindAndTheWordsOfTheSystemsError) {
  const auto failure = PlatformException::ofSystemCall("Name", "cannot read /a", ENOENT);
  EXPECT_EQ(failure.kind(), Kind::notFound);
  EXPECT_EQ(failure.name(), "Name");
  EXPECT_EQ(failure.reason(), "cannot read /a: No such file or directory");
  EXPECT_STREQ(failure.what(), failure.reason().c_str());
  EXPECT_EQ(kindOf(EACCES), Kind::notPermitted);
  EXPECT_EQ(kindOf(EMFILE), Kind::noResources);
  EXPECT_EQ(kindOf(EINVAL), Kind::invalidArgument);
  EXPECT_EQ(kindOf(EIO), Kind::failed);
}

}  // namespace
}  // namespace quillo

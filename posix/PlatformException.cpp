#include "posix/PlatformException.h"

#include <cerrno>
#include <cstring>

namespace quillo {
namespace {

using Kind = PlatformException::Kind;

Kind kindOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
      return Kind::notFound;
    case EACCES:
    case EPERM:
    case EROFS:
      return Kind::notPermitted;
    case EAGAIN:
    case EMFILE:
    case ENFILE:
    case ENOMEM:
    case ENOSPC:
    case EDQUOT:
      return Kind::noResources;
    case EINVAL:
    case ENAMETOOLONG:
      return Kind::invalidArgument;
    default:
      return Kind::failed;
  }
}

}  // namespace

PlatformException PlatformException::ofSystemCall(std::string name, const std::string& what,
                                                  int error) {
  return {kindOf(error), std::move(name), what + ": " + std::strerror(error)};
}

}  // namespace quillo

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillo {

// Names of local files as URIs of the scheme "file" (RFC 8089), which hold any bytes in ASCII. Pure
// functions; any thread.

// Returns the bytes of the path; nothing unless the URI is well-formed to the letter, names no
// other host than "localhost", and its path is absolute and holds neither NUL nor an encoded "/".
std::optional<std::string> pathOfFileUri(std::string_view uri);
// Returns the path as it stands in a URI: what is not unreserved (RFC 3986, 2.3) is
// percent-encoded.
std::string percentEncodedPath(std::string_view path);

}  // namespace quillo

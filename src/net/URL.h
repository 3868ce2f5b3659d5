// URLs as distribution points and responders write them, taken apart with the small print that stored keys rely on, and
// percent coding (RFC 3986 section 2.1). A NUL ends a text, as the places these texts come from and go to see it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace keystrand {

enum URLScheme : int { kSchemeHTTP = 1, kSchemeLDAP = 2, kSchemeHTTPS = 3, kSchemeFile = 4 };

struct ParsedURL {
  int scheme = 0;                               // URLScheme, also when it was not asked for
  std::string host;                             // as written, not decoded
  int port = 0;                                 // the scheme's default where none is read: 80, 389, 443, and 0 for file
  std::optional<std::string> path;              // from its "/" on, percent-decoded, without the query; may hold a NUL
  std::size_t queryOffset = std::string::npos;  // in the URL, of the "?" or of its end; npos where there is no path
};

// Nothing for a URL that names none of the four schemes. With `wantScheme` the path of an LDAP URL loses its leading
// "/".
std::optional<ParsedURL> httpParseURL(std::string_view url, bool wantScheme);

// Decodes the whole text, "?" included: %XX becomes that byte, a carriage return is dropped, "+" becomes a blank.
std::string httpUnescape(std::string_view text);

// Keeps letters, digits and $-_.+!*'(),;/?:@& and writes other bytes as %XX. Bytes of 128 or more all come out as %FF,
// and a byte below 16 ends the text behind its one digit.
std::string httpEscape(std::string_view text);

}  // namespace keystrand

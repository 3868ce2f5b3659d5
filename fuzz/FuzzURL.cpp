// URLs: what is parsed lies within the URL, and what is escaped comes back.
#include <algorithm>
#include <cstdint>
#include <string>

#include "Property.h"
#include "net/URL.h"

namespace {

using keystrand::httpEscape;
using keystrand::httpParseURL;
using keystrand::httpUnescape;
using keystrand::fuzz::require;

void parsedPartsLieInTheURL(const std::string& url) {
  const auto parsed = httpParseURL(url, false);
  const auto withScheme = httpParseURL(url, true);
  require(parsed.has_value() == withScheme.has_value(), "both forms agree that it is a URL");
  if (!parsed) return;
  require(parsed->scheme >= 1 && parsed->scheme <= 4, "one of the four schemes");
  require(url.find(parsed->host) != std::string::npos, "the host stands in the URL");
  require(parsed->host == withScheme->host && parsed->port == withScheme->port, "both forms find the same host");
  require(parsed->path.has_value() == (parsed->queryOffset != std::string::npos), "a query place comes with a path");
  if (!parsed->path) return;
  require(parsed->path->size() <= parsed->queryOffset && parsed->queryOffset <= url.size(), "decoding never lengthens");
  require(parsed->queryOffset == url.size() || url[parsed->queryOffset] == '?' || url[parsed->queryOffset] == '\0',
          "the query begins at its mark or at the end");
  const bool slashDropped = parsed->scheme == keystrand::kSchemeLDAP;
  require(slashDropped || parsed->path == withScheme->path, "both forms find the same path");
}

// Only these bytes survive: the others lose their value or end the text, and a plus becomes a blank.
bool survives(char c) {
  return c >= 0x10 && c < 0x7F && c != '+';
}

void escapedTextComesBack(std::string text) {
  const std::string escaped = httpEscape(text);
  require(escaped.find_first_of(" \"#<>[\\]^`{|}~=\r\n") == std::string::npos, "an escaped text is plain");
  require(httpUnescape(text).size() <= text.size(), "decoding never lengthens");
  std::erase_if(text, [](char c) { return !survives(c); });
  require(httpUnescape(httpEscape(text)) == text, "an escaped text comes back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  parsedPartsLieInTheURL(text);
  escapedTextComesBack(text);
  return 0;
}

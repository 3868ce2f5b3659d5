// URLs: what is parsed lies within the URL, and what is escaped comes back.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "net/URL.h"

namespace {

using keystrand::httpEscape;
using keystrand::httpParseURL;
using keystrand::httpUnescape;

void require(bool condition) {
  if (!condition) std::abort();
}

void parsedPartsLieInTheURL(const std::string& url) {
  const auto parsed = httpParseURL(url, false);
  const auto withScheme = httpParseURL(url, true);
  require(parsed.has_value() == withScheme.has_value());
  if (!parsed) return;
  require(parsed->scheme >= 1 && parsed->scheme <= 4);
  require(url.find(parsed->host) != std::string::npos);
  require(parsed->host == withScheme->host && parsed->port == withScheme->port);
  require(parsed->path.has_value() == (parsed->queryOffset != std::string::npos));
  if (!parsed->path) return;
  require(parsed->path->size() <= parsed->queryOffset && parsed->queryOffset <= url.size());
  require(parsed->queryOffset == url.size() || url[parsed->queryOffset] == '?' || url[parsed->queryOffset] == '\0');
  const bool slashDropped = parsed->scheme == keystrand::kSchemeLDAP;
  require(slashDropped || parsed->path == withScheme->path);
}

// Only these bytes survive: the others lose their value or end the text, and a plus becomes a blank.
bool survives(char c) {
  return c >= 0x10 && c < 0x7F && c != '+';
}

void escapedTextComesBack(std::string text) {
  const std::string escaped = httpEscape(text);
  require(escaped.find_first_of(" \"#<>[\\]^`{|}~=\r\n") == std::string::npos);
  require(httpUnescape(text).size() <= text.size());
  std::erase_if(text, [](char c) { return !survives(c); });
  require(httpUnescape(httpEscape(text)) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  parsedPartsLieInTheURL(text);
  escapedTextComesBack(text);
  return 0;
}

#include "net/URL.h"

#include <charconv>

namespace keystrand {

namespace {

struct SchemeRow {
  std::string_view literal;
  URLScheme scheme;
  int defaultPort;
};

// In the order in which they are looked for.
constexpr SchemeRow kSchemes[] = {
    {"http://", kSchemeHTTP, 80},
    {"ldap://", kSchemeLDAP, 389},
    {"https://", kSchemeHTTPS, 443},
    {"file://", kSchemeFile, 0},
};

// The slash that bounds the search for a port is looked for from the tenth character of the authority on, so a port is
// read only where a slash follows that far behind: rows of the CRL table are keyed by hosts that were split this way.
constexpr std::size_t kPortBoundFrom = 9;

constexpr auto kNone = std::string_view::npos;
constexpr std::string_view kUpperHex = "0123456789ABCDEF";
constexpr std::string_view kKept = "$-_.+!*'(),;/?:@&";

std::string_view untilNUL(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

// Found anywhere in the URL, though the text behind it is always taken from the literal's length on.
const SchemeRow* schemeOf(std::string_view url) {
  for (const SchemeRow& row : kSchemes)
    if (url.find(row.literal) != kNone) return &row;
  return nullptr;
}

std::size_t portColon(std::string_view authority) {
  const std::size_t colon = authority.find(':');
  const std::size_t bound = authority.find('/', kPortBoundFrom);
  return bound == kNone || colon > bound ? kNone : colon;
}

// 0 for anything that is not a number.
int decimal(std::string_view text) {
  int value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The byte that %XX at the start of the text stands for, -1 for anything else.
int escapedByte(std::string_view text) {
  if (text.size() < 3 || text[0] != '%') return -1;
  const int high = hexDigit(text[1]);
  const int low = hexDigit(text[2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

// Appends what one character, or one %XX, at `at` stands for; returns where the next begins.
std::size_t decodeOne(std::string_view text, std::size_t at, std::string& out) {
  const int byte = escapedByte(text.substr(at));
  if (byte < 0) {
    out += text[at];
    return at + 1;
  }
  if (byte != '\r') out += static_cast<char>(byte);
  return at + 3;
}

// Decodes up to the first `stop` and returns where it stands, or the size. What follows a "+" belongs to the same step:
// it is neither a stop nor another blank.
std::size_t decode(std::string_view text, std::string_view stop, std::string& out) {
  std::size_t at = 0;
  while (at < text.size() && stop.find(text[at]) == kNone) {
    if (text[at] == '+') {
      out += ' ';
      if (++at == text.size()) break;
    }
    at = decodeOne(text, at, out);
  }
  return at;
}

bool isKept(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || kKept.find(c) != kNone;
}

}  // namespace

std::optional<ParsedURL> httpParseURL(std::string_view url, bool wantScheme) {
  url = untilNUL(url);
  const SchemeRow* row = schemeOf(url);
  if (row == nullptr) return std::nullopt;
  const std::string_view authority = url.substr(row->literal.size());
  ParsedURL parsed{.scheme = row->scheme, .host = {}, .port = row->defaultPort, .path = {}};

  const std::size_t colon = portColon(authority);
  std::size_t slash = authority.find('/', colon == kNone ? 0 : colon);
  parsed.host = authority.substr(0, colon == kNone ? slash : colon);
  if (colon != kNone) parsed.port = decimal(authority.substr(colon + 1));
  if (slash == kNone) return parsed;

  if (wantScheme && row->scheme == kSchemeLDAP) ++slash;
  const std::size_t queryInPath = decode(authority.substr(slash), "?", parsed.path.emplace());
  parsed.queryOffset = row->literal.size() + slash + queryInPath;
  return parsed;
}

std::string httpUnescape(std::string_view text) {
  std::string decoded;
  decode(untilNUL(text), {}, decoded);
  return decoded;
}

std::string httpEscape(std::string_view text) {
  std::string escaped;
  for (const char c : untilNUL(text)) {
    const auto byte = static_cast<unsigned char>(c);
    if (isKept(c)) {
      escaped += c;
    } else if (byte >= 0x80) {
      escaped += "%FF";  // whatever the byte
    } else if (byte >= 0x10) {
      escaped += {'%', kUpperHex[byte >> 4], kUpperHex[byte & 0x0F]};
    } else {
      escaped += {'%', kUpperHex[byte]};  // one digit, and the text ends behind it
      break;
    }
  }
  return escaped;
}

}  // namespace keystrand

#include "net/HTTPBody.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

#include "net/BodyRoom.h"
#include "support/Base64.h"

namespace keystrand {

namespace {

constexpr std::uint64_t kPieceBytes = 64U << 10U;  // a peer that takes ten timeouts for so many is given up
constexpr unsigned char kSequence = 0x30;
constexpr std::uint32_t kObjectStart = 16;  // bytes that hold any header

constexpr std::size_t kChunkLine = 7;  // characters at most, a carriage return included
constexpr int kMostChunks = 1'000'000;

// Whether a byte is there already.
bool nextByteAtOnce(Transport& peer, unsigned char& byte) {
  const std::int64_t timeout = peer.timeout();
  peer.setTimeout(0);
  const bool there = peer.readExact({&byte, 1}) == 0;
  peer.setTimeout(timeout);
  return there;
}

// The number of the line that begins with this byte.
std::optional<std::uint64_t> chunkSize(Transport& peer, unsigned char byte) {
  std::array<char, kChunkLine + 1> line{};
  for (std::size_t n = 0; byte != '\n'; ++n) {
    if (n == kChunkLine) return std::nullopt;
    line[n] = static_cast<char>(byte);
    if (peer.readExact({&byte, 1}) != 0) return std::nullopt;
  }
  char* end = nullptr;
  const std::uint64_t size = std::strtoull(line.data(), &end, 16);
  return end == line.data() ? std::nullopt : std::optional(size);
}

void passLineEnd(Transport& peer) {
  unsigned char byte = 0;
  for (int i = 0; i < 2 && peer.readExact({&byte, 1}) == 0; ++i) {
  }
}

bool readSequence(Transport& peer, Buffer& body) {
  unsigned char tag = 0;
  std::uint32_t length = 0;
  if (!body.getHeader(tag, length)) return false;
  const std::uint64_t total = std::uint64_t{length} + body.readPosition();
  body.setReadPosition(0);
  return total <= body.size() || (body.size() == kObjectStart && readBody(peer, body, total - kObjectStart));
}

bool readText(Transport& peer, Buffer& body, TextBody text) {
  readToEnd(peer, body);
  if (text == TextBody::keep) return true;
  const auto decoded = decodeBase64(body.range(0, body.size()));
  if (decoded) body.assign(decoded->data(), static_cast<std::uint32_t>(decoded->size()));
  return decoded.has_value();
}

}  // namespace

bool readBody(Transport& peer, Buffer& body, std::uint64_t n) {
  if (n > kBodyLimit - std::min<std::uint64_t>(body.size(), kBodyLimit)) return false;
  while (n > 0) {
    const std::uint64_t piece = std::min(n, kPieceBytes);
    const Transport::Limit limit(peer);
    if (!makeRoom(body, piece) || peer.read(body, static_cast<std::uint32_t>(piece)) != 0) return false;
    n -= piece;
  }
  return true;
}

void readToEnd(Transport& peer, Buffer& body) {
  const Transport::Limit limit(peer);
  std::array<unsigned char, 1024> piece;
  while (!body.isFull()) {
    const std::size_t wanted = std::min<std::size_t>(piece.size(), body.limit() - body.size());
    std::size_t received = wanted;
    const bool read = peer.readSome(piece, received) == 0;
    body.append(piece.data(), static_cast<std::uint32_t>(received));
    if (!read || received < wanted) return;
  }
}

bool readChunks(Transport& peer, Buffer& body) {
  unsigned char byte = 0;
  for (int chunk = 0; chunk < kMostChunks; ++chunk) {
    if (!nextByteAtOnce(peer, byte)) return true;
    const Transport::Limit limit(peer);
    const auto size = chunkSize(peer, byte);
    if (!size || !readBody(peer, body, *size)) return false;
    passLineEnd(peer);
  }
  return false;
}

void terminate(Buffer& body) {
  body.reserve(body.size() + 1);
  body.putByte(0);
}

bool readObject(Transport& peer, Buffer& body, TextBody text) {
  body.reset();
  body.reserve(kObjectStart);
  peer.read(body, kObjectStart);  // a shorter body may be whole all the same
  if (body.size() == 0) return false;
  return body.peekByte() == kSequence ? readSequence(peer, body) : readText(peer, body, text);
}

}  // namespace keystrand

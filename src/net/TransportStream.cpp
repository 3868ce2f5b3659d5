// Reading from and writing to the stream, in pieces that are each waited for under the timeout.
#include <algorithm>
#include <array>

#include "net/ReadProgress.h"
#include "net/Transport.h"

namespace keystrand {

namespace {

constexpr std::size_t kPieceBytes = 1024;

}  // namespace

int Transport::write(std::span<const unsigned char> bytes) {
  if (!isConnected()) return kSocketError;
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), kPieceBytes));
    bytes = bytes.subspan(piece.size());
    if (const int error = stream_.send(piece, !bytes.empty(), deadline()); error != 0) return error;
  }
  return 0;
}

int Transport::write(Buffer& buffer, std::uint32_t length) {
  std::span<const unsigned char> bytes;
  if (!isConnected() || !buffer.view(length, bytes)) return kSocketError;
  return write(bytes);
}

int Transport::readExact(std::span<unsigned char> bytes) {
  if (ReadProgress::cancelled()) return kSocketTimeout;
  if (!isConnected()) return kSocketError;
  ReadProgress progress(static_cast<std::uint32_t>(bytes.size()));
  while (!bytes.empty()) {
    std::size_t received = 0;
    if (const int error = receivePiece(bytes, received); error != 0) return error;
    bytes = bytes.subspan(received);
    if (!progress.advance(static_cast<std::uint32_t>(received))) return kSocketTimeout;
  }
  progress.end();
  return 0;
}

int Transport::read(Buffer& buffer, std::uint32_t length) {
  if (ReadProgress::cancelled()) return kSocketTimeout;
  if (!isConnected() || buffer.limit() < std::uint64_t{buffer.size()} + length) return kSocketError;
  ReadProgress progress(length);
  std::array<unsigned char, kPieceBytes> piece;
  for (std::uint32_t left = length; left > 0;) {
    std::size_t received = 0;
    const auto room = std::span(piece).first(std::min<std::size_t>(left, kPieceBytes));
    if (const int error = receivePatiently(room, received); error != 0) return error;
    const auto count = static_cast<std::uint32_t>(received);
    buffer.append(piece.data(), count);
    left -= count;
    if (!progress.advance(count)) return kSocketTimeout;
  }
  progress.end();
  return 0;
}

int Transport::readSome(std::span<unsigned char> bytes, std::size_t& length) {
  bytes = bytes.first(std::min(bytes.size(), length));
  length = 0;
  if (!isConnected()) return kSocketError;
  while (!bytes.empty()) {
    std::size_t received = 0;
    const int error = receivePiece(bytes, received);
    if (error != 0) return error == kSocketTimeout || error == kSocketError ? 0 : error;
    bytes = bytes.subspan(received);
    length += received;
  }
  return 0;
}

int Transport::receivePiece(std::span<unsigned char> room, std::size_t& received) {
  return stream_.receive(room.first(std::min(room.size(), kPieceBytes)), received, deadline());
}

int Transport::receivePatiently(std::span<unsigned char> room, std::size_t& received) {
  const int error = receivePiece(room, received);
  if (error != kSocketTimeout) return error;
  return stream_.receive(room, received, Deadline::earlier(limit_, Deadline::patient(timeout_)));
}

}  // namespace keystrand

// Reading from and writing to the stream, in pieces that are each waited for under the timeout.
#include <algorithm>
#include <array>

#include "net/Transport.h"

namespace keystrand {

namespace {

constexpr std::size_t kPieceBytes = 1024;
constexpr std::chrono::seconds kShortestSecondWait{1};

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
  if (!isConnected()) return kSocketError;
  while (!bytes.empty()) {
    std::size_t received = 0;
    if (const int error = receivePiece(bytes, received); error != 0) return error;
    bytes = bytes.subspan(received);
  }
  return 0;
}

int Transport::read(Buffer& buffer, std::uint32_t length) {
  if (!isConnected() || buffer.limit() < std::uint64_t{buffer.size()} + length) return kSocketError;
  std::array<unsigned char, kPieceBytes> piece;
  for (std::uint32_t done = 0; done < length;) {
    std::size_t received = 0;
    const std::size_t wanted = std::min<std::size_t>(length - done, kPieceBytes);
    if (const int error = receivePatiently(std::span(piece).first(wanted), received); error != 0) return error;
    buffer.append(piece.data(), static_cast<std::uint32_t>(received));
    done += static_cast<std::uint32_t>(received);
  }
  return 0;
}

int Transport::readSome(std::span<unsigned char> bytes, std::size_t& length) {
  if (!isConnected()) return kSocketError;
  bytes = bytes.first(std::min(bytes.size(), length));
  length = 0;
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
  const Deadline again = Deadline::in(std::max(waitSeconds(), kShortestSecondWait));
  return stream_.receive(room, received, Deadline::earlier(limit_, again));
}

}  // namespace keystrand

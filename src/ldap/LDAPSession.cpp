#include "ldap/LDAPSession.h"

#include <algorithm>
#include <utility>

#include "der/BorrowedBuffer.h"
#include "der/Element.h"

namespace keystrand {

namespace {

// The block grows as the octets arrive: an announced size costs the peer as much as it costs this side.
constexpr std::uint32_t kLeastPiece = 1U << 16;

// What the log says of a read that failed, in the words that readers of the log know.
constexpr const char* kFirstNotRead = "2.5.4.3";
constexpr const char* kRestNotRead = "2.5.4.6";
constexpr int kFailureNumber = 4;

}  // namespace

LDAPSession::LDAPSession(Buffer& buffer, std::string host, std::uint16_t port)
    : Session(buffer, std::move(host), port) {}

LDAPSession::LDAPSession(std::string host, std::uint16_t port, std::uint32_t size)
    : Session(std::make_unique<Buffer>(size), std::move(host), port) {}

LDAPSession::LDAPSession(std::unique_ptr<Buffer> buffer, std::string host, std::uint16_t port)
    : Session(std::move(buffer), std::move(host), port) {}

bool LDAPSession::send(const LDAPMessage& message) {
  Buffer& out = buffer();
  out.reset();
  const std::uint32_t size = message.size(out);
  if (size > out.limit()) out.reserve(size + kFirstOctets);
  message.encode(out);
  return transport().write(out, out.size()) == 0;
}

std::unique_ptr<LDAPMessage> LDAPSession::receive() {
  buffer().reset();
  if (!readFirst()) {
    logFailure(kFirstNotRead);
    return nullptr;
  }
  const std::optional<std::uint32_t> size = messageSize(buffer().range(0, kFirstOctets));
  if (!size) return nullptr;
  if (!readRest(*size)) {
    logFailure(kRestNotRead);
    return nullptr;
  }
  auto message = std::make_unique<LDAPMessage>();
  return message->decode(buffer()) ? std::move(message) : nullptr;
}

std::optional<std::uint32_t> LDAPSession::messageSize(std::span<const unsigned char> first) {
  BorrowedBuffer header(first);
  Element sequence;
  if (first.empty() || first.front() != kSequence || !sequence.openAny(header, kSequence) || !sequence.definite)
    return std::nullopt;
  if (sequence.end < kFirstOctets || sequence.end > kLargestMessage) return std::nullopt;
  return static_cast<std::uint32_t>(sequence.end);
}

bool LDAPSession::readFirst() {
  buffer().reserve(kFirstOctets);
  return transport().read(buffer(), kFirstOctets) == 0;
}

bool LDAPSession::readRest(std::uint32_t size) {
  Buffer& in = buffer();
  while (in.size() < size) {
    const std::uint32_t piece = std::min(size - in.size(), std::max(in.size(), kLeastPiece));
    in.reserve(in.size() + piece);
    if (transport().read(in, piece) != 0) return false;
  }
  return true;
}

void LDAPSession::logFailure(const char* row) const {
  if (logger() == nullptr) return;
  log(*logger(), Logger::kFailure, kFailureNumber, "%.3d %s %s", kFailureNumber, row, host().c_str());
}

}  // namespace keystrand

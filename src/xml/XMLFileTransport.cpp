// A document over a connection: its length in four bytes, in network order, and its text.
#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "log/Logger.h"
#include "net/Transport.h"
#include "xml/XMLFileTree.h"

namespace keystrand {
namespace {

constexpr std::uint32_t kMaxReceived = 256U << 20;
constexpr std::size_t kPiece = 64U << 10;
constexpr unsigned long kNoCatalogueRow = 65535;

using Prefix = std::array<unsigned char, 4>;

Prefix prefixOf(std::uint32_t length) {
  return {static_cast<unsigned char>(length >> 24), static_cast<unsigned char>(length >> 16),
          static_cast<unsigned char>(length >> 8), static_cast<unsigned char>(length)};
}

std::uint32_t lengthIn(const Prefix& prefix) {
  return static_cast<std::uint32_t>(prefix[0]) << 24 | static_cast<std::uint32_t>(prefix[1]) << 16 |
         static_cast<std::uint32_t>(prefix[2]) << 8 | prefix[3];
}

template <class... Arguments>
bool fail(const Logger* logger, const char* format, Arguments... arguments) {
  if (logger != nullptr) log(*logger, Logger::kTrace, kNoCatalogueRow, format, arguments...);
  return false;
}

// Grows as bytes come: who announces much and sends little costs little.
bool readText(Transport& transport, std::size_t length, std::string& text) {
  while (text.size() < length) {
    const std::size_t done = text.size();
    text.resize(done + std::min(kPiece, length - done));
    const std::span<char> piece = std::span(text).subspan(done);
    if (transport.readExact({reinterpret_cast<unsigned char*>(piece.data()), piece.size()}) != 0) return false;
  }
  return true;
}

}  // namespace

bool XMLFile::send(Transport& transport) {
  if (dump() == nullptr || tree_->dumpText->size() > UINT32_MAX) return false;
  const std::string& text = *tree_->dumpText;
  const Prefix prefix = prefixOf(static_cast<std::uint32_t>(text.size()));
  return transport.write(prefix) == 0 &&
         transport.write({reinterpret_cast<const unsigned char*>(text.data()), text.size()}) == 0;
}

bool XMLFile::receive(Transport& transport, const Logger* logger) {
  Prefix prefix{};
  if (transport.readExact(prefix) != 0) return fail(logger, "No data received");
  const std::uint32_t length = lengthIn(prefix);
  if (length > kMaxReceived) return fail(logger, "Invalid data len");
  std::string text;
  try {
    if (!readText(transport, length, text))
      return fail(logger, "Error receiving data [%s]", std::to_string(length).c_str());
  } catch (const std::bad_alloc&) {
    return fail(logger, "Invalid data len");
  }
  const bool isParsed = parse(text.data(), static_cast<int>(length), true);
  tree_->dumpText = std::move(text);
  return isParsed;
}

}  // namespace keystrand

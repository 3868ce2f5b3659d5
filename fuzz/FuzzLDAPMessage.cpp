// LDAP messages with every operation, and filters alone; the first byte says which. What is read is written with the
// size announced, reads back as itself, and so does a copy.
#include <algorithm>

#include "Property.h"
#include "der/BorrowedBuffer.h"
#include "ldap/Filter.h"
#include "ldap/LDAPMessage.h"

namespace {

using namespace keystrand;
using fuzz::require;

template <class Structure>
Bytes written(const Structure& structure) {
  Buffer out(1);
  structure.encode(out);
  require(structure.size(out) == out.size(), "size is what encode writes");
  const auto bytes = out.range(0, out.size());
  return {bytes.begin(), bytes.end()};
}

// Gives what is written of it; nothing when the bytes are no such structure.
template <class Structure>
bool roundTrip(std::span<const unsigned char> bytes, Structure& structure) {
  BorrowedBuffer in(bytes);
  if (!structure.decode(in)) return false;
  const Bytes first = written(structure);
  BorrowedBuffer again(first);
  Structure reread;
  require(reread.decode(again), "what is written is read");
  require(written(reread) == first, "what is read again is written the same");
  return true;
}

void messageComesBack(std::span<const unsigned char> bytes) {
  LDAPMessage message;
  if (!roundTrip(bytes, message)) return;
  LDAPMessage copy;
  copy.setMessageID(message.messageID());
  copy.setProtocolOp(*message.protocolOp());
  if (message.controls()) copy.setControls(*message.controls());
  require(written(copy) == written(message), "a clone is written the same");
}

void filterComesBack(std::span<const unsigned char> bytes) {
  Filter filter;
  if (!roundTrip(bytes, filter)) return;
  const auto text = filter.toString();
  if (!text) return;
  require(text->starts_with("( ") && text->ends_with(")"), "a text form stands in brackets");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const unsigned char> rest(data + 1, size - 1);
  if (data[0] % 2 == 0) {
    messageComesBack(rest);
  } else {
    filterComesBack(rest);
  }
  return 0;
}

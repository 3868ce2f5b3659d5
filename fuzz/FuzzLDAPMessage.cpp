// LDAP messages with every operation, filters alone, and the query part of LDAP URLs; the first byte says which. What
// is read is written with the size announced, reads back as itself, and so does a copy.
#include <algorithm>

#include "Property.h"
#include "der/BorrowedBuffer.h"
#include "ldap/Filter.h"
#include "ldap/LDAPMessage.h"
#include "ldap/LDAPQuery.h"
#include "ldap/LDAPSession.h"

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
  if (bytes.size() >= LDAPSession::kFirstOctets && bytes[0] == kSequence) {
    const auto size = LDAPSession::messageSize(bytes.first(LDAPSession::kFirstOctets));
    require(!size || *size <= bytes.size(), "the first octets tell the size");
  }
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

void queryHoldsTogether(std::span<const unsigned char> bytes) {
  const std::string text(bytes.begin(), bytes.end());
  const LDAPQuery query = parseLDAPQuery(text);
  require(text.starts_with(query.attribute) && query.attribute.starts_with(query.name), "the attribute comes first");
  require(query.name.find_first_of(";?") == std::string::npos, "a name has no options");
  require(query.scope <= 2 && query.filter.toString().has_value(), "scope and filter are of those that are sent");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const unsigned char> rest(data + 1, size - 1);
  switch (data[0] % 3) {
    case 0:
      messageComesBack(rest);
      break;
    case 1:
      filterComesBack(rest);
      break;
    default:
      queryHoldsTogether(rest);
  }
  return 0;
}

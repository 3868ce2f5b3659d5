#include "ldap/LDAPMessage.h"

#include <algorithm>
#include <iterator>

#include "ldap/BindRequest.h"
#include "ldap/EntryRequests.h"
#include "ldap/ExtendedRequest.h"
#include "ldap/ModifyRequest.h"
#include "ldap/Responses.h"
#include "ldap/SearchRequest.h"
#include "ldap/SearchResult.h"

namespace keystrand {

namespace {

constexpr unsigned char kControls = 0xA0;

struct OperationRow {
  unsigned char tag;
  std::unique_ptr<LDAPOperation> (*make)();
};

template <class Operation>
constexpr OperationRow rowOf() {
  return {Operation::kTag, []() -> std::unique_ptr<LDAPOperation> { return std::make_unique<Operation>(); }};
}

// In the order of the standard's sections.
constexpr OperationRow kOperations[] = {
    rowOf<BindRequest>(),       rowOf<BindResponse>(),     rowOf<UnbindRequest>(),         rowOf<SearchRequest>(),
    rowOf<SearchResultEntry>(), rowOf<SearchResultDone>(), rowOf<SearchResultReference>(), rowOf<ModifyRequest>(),
    rowOf<ModifyResponse>(),    rowOf<AddRequest>(),       rowOf<AddResponse>(),           rowOf<DelRequest>(),
    rowOf<DelResponse>(),       rowOf<ModifyDNRequest>(),  rowOf<ModifyDNResponse>(),      rowOf<CompareRequest>(),
    rowOf<CompareResponse>(),   rowOf<AbandonRequest>(),   rowOf<ExtendedRequest>(),       rowOf<ExtendedResponse>(),
};

std::unique_ptr<LDAPOperation> makeOperation(unsigned char tag) {
  const auto* row = std::ranges::find(kOperations, tag, &OperationRow::tag);
  return row != std::end(kOperations) ? row->make() : nullptr;
}

}  // namespace

std::uint32_t LDAPMessage::contentSize(const Buffer& buffer) const {
  return buffer.sizeInteger(messageID_) + (protocolOp_ ? protocolOp_->size(buffer) : 0) +
         sizeOptional(buffer, controls_, kControls);
}

std::uint32_t LDAPMessage::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void LDAPMessage::encode(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  buffer.putInteger(messageID_);
  if (protocolOp_) protocolOp_->encode(buffer);
  putOptional(buffer, controls_, kControls);
}

bool LDAPMessage::decode(Buffer& in) {
  Element sequence;
  protocolOp_.reset();
  controls_.reset();
  if (!openWhole(sequence, in, kSequence) || !in.getInteger(messageID_)) return false;
  protocolOp_ = makeOperation(nextTag(in));
  if (!protocolOp_ || !protocolOp_->decode(in)) return false;
  return in.atEnd() || controls_.emplace().decode(in, kControls);
}

}  // namespace keystrand

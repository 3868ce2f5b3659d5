#include "ldap/LDAPExchange.h"

#include <limits>

#include "ldap/BindRequest.h"
#include "ldap/LDAPQuery.h"
#include "ldap/Responses.h"
#include "ldap/SearchResult.h"

namespace keystrand {

namespace {

constexpr unsigned char kVersion = 3;
constexpr std::int32_t kMessageID = 1;

bool isPort(int number) {
  return number > 0 && number <= std::numeric_limits<std::uint16_t>::max();
}

// References, and whatever else stands between the entries, are passed over.
void takeEntry(const LDAPMessage& answer, const std::function<void(const PartialAttributeList&)>& take) {
  if (const auto* entry = answer.protocolOpAs<SearchResultEntry>()) take(entry->attributes());
}

bool isDone(const LDAPMessage& answer) {
  return answer.protocolOpTag() == SearchResultDone::kTag;
}

}  // namespace

SearchRequest searchFor(std::string_view dn, const AttrDescrList& attributes) {
  SearchRequest request;
  request.setBaseObject(dn);
  request.setFilter(anyEntry());
  request.setAttributes(attributes);
  return request;
}

LDAPExchange::LDAPExchange(const DirectoryEntry& at, Buffer& buffer)
    : session_(buffer, at.host, static_cast<std::uint16_t>(at.port)) {
  message_.setMessageID(kMessageID);
}

std::unique_ptr<LDAPExchange> LDAPExchange::open(const DirectoryEntry& at, std::int32_t timeoutSeconds,
                                                 Buffer& buffer) {
  if (!isPort(at.port)) return nullptr;
  std::unique_ptr<LDAPExchange> exchange(new LDAPExchange(at, buffer));
  exchange->session_.setTimeout(timeoutSeconds);
  return exchange->session_.connect() && exchange->bind() ? std::move(exchange) : nullptr;
}

bool LDAPExchange::send(const LDAPOperation& operation) {
  message_.setProtocolOp(operation);
  return session_.send(message_);
}

bool LDAPExchange::bind() {
  BindRequest request;
  request.setVersion(kVersion);
  request.setSimple("");
  if (!send(request)) return false;
  const std::unique_ptr<LDAPMessage> answer = session_.receive();
  const auto* response = answer ? answer->protocolOpAs<BindResponse>() : nullptr;
  return response != nullptr && response->getResultCode() == LDAPResult::kSuccess;
}

bool LDAPExchange::search(const SearchRequest& request, const std::function<void(const PartialAttributeList&)>& take) {
  if (!send(request)) return false;
  for (int i = 0; i < kMostAnswers; ++i) {
    const std::unique_ptr<LDAPMessage> answer = session_.receive();
    if (!answer) return i > 0;
    if (isDone(*answer)) return true;
    takeEntry(*answer, take);
  }
  return true;
}

bool LDAPExchange::searchOne(const SearchRequest& request,
                             const std::function<void(const PartialAttributeList&)>& take) {
  if (!send(request)) return false;
  const std::unique_ptr<LDAPMessage> answer = session_.receive();
  if (!answer) return false;
  if (isDone(*answer)) return true;
  takeEntry(*answer, take);
  static_cast<void>(session_.receive());
  return true;
}

void LDAPExchange::unbind() {
  send(UnbindRequest());
  session_.disconnect();
}

}  // namespace keystrand

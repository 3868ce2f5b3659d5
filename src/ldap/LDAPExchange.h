// One exchange with a directory: an anonymous bind, searches, the unbind. All its messages have the identifier 1.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ldap/LDAPSession.h"
#include "ldap/PartialAttributeList.h"
#include "ldap/SearchRequest.h"

namespace keystrand {

// Where an entry is. A server is asked for by the address that its URL gives.
struct DirectoryEntry {
  std::string host;
  int port = 0;
  std::string dn;
};

class LDAPExchange {
 public:
  // The most messages that are read in answer to one search.
  static constexpr int kMostAnswers = 1000;

  // Null when the server cannot be reached, does not answer or refuses the bind. Works in the buffer, which must
  // outlive the exchange. `timeoutSeconds` is for each wait; -1 waits without limit.
  [[nodiscard]] static std::unique_ptr<LDAPExchange> open(const DirectoryEntry& at, std::int32_t timeoutSeconds,
                                                          Buffer& buffer);

  // Sends the search and hands the attributes of each entry over until the result or nothing more comes. False when
  // there was no answer at all.
  bool search(const SearchRequest& request, const std::function<void(const PartialAttributeList&)>& take);
  // The same for one entry at most: reads one answer, and one more behind an answer that is not the result.
  bool searchOne(const SearchRequest& request, const std::function<void(const PartialAttributeList&)>& take);
  void unbind();

 private:
  LDAPExchange(const DirectoryEntry& at, Buffer& buffer);
  bool bind();
  bool send(const LDAPOperation& operation);

  LDAPSession session_;
  LDAPMessage message_;  // of every request in turn
};

// A search for attributes of one entry; with the present filter on objectclass unless another one is set.
[[nodiscard]] SearchRequest searchFor(std::string_view dn, const AttrDescrList& attributes);

}  // namespace keystrand

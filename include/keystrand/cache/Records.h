// Plain records for clients. Records come from operator new, their texts from malloc: the release functions free
// exactly the record handed in, so a client that wants all memory back walks the chain and frees the texts itself.
#pragma once

#include <cstdint>

namespace keystrand {

// What a trust service list says of a CA: the current state, then older ones behind next. An absent text is nullptr.
struct _md {
  char* serviceType;
  char* serviceName;
  char* serviceStatus;
  char* statusStartingTime;
  _md* next;
};

// One trusted list that was loaded: its territory, where it was fetched from, nullptr when unknown, and the number of
// its issue.
struct _ti {
  char* countryCode;
  char* location;
  std::int32_t sequenceNumber;
  _ti* next;
};

}  // namespace keystrand

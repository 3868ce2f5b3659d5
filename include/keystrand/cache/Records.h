// Plain records for clients. Records come from operator new, their texts from malloc: the release functions free
// exactly the record handed in, so a client that wants all memory back walks the chain and frees the texts itself.
#pragma once

namespace keystrand {

// What a trust service list says of a CA: the current state, then older ones behind next. An absent text is nullptr.
struct _md {
  char* serviceType;
  char* serviceName;
  char* serviceStatus;
  char* statusStartingTime;
  _md* next;
};

struct _ti;

}  // namespace keystrand

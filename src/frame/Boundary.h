// The boundary between a client and the library: nothing throws across it, and a null context is a failure.
#pragma once

#include <span>
#include <type_traits>
#include <utility>

#include "cache/CACache.h"
#include "log/MessageCodes.h"
#include "ocsp/OCSPChecker.h"

namespace keystrand {

// Runs the body of an exported function; whatever it throws becomes the function's failure value.
template <class Result, class Body>
Result guarded(Result failure, Body&& body) noexcept {
  try {
    return static_cast<Result>(std::forward<Body>(body)());
  } catch (...) {
    return failure;
  }
}

template <class Body>
void guardedVoid(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
  } catch (...) {  // a function without a result has no way to tell
  }
}

// The same on a context of the cache_ family; failure for a null context.
template <class Result, class Body>
Result onCache(void* context, Result failure, Body&& body) noexcept {
  if (context == nullptr) return failure;
  return guarded(failure, [&] { return body(*static_cast<CACache*>(context)); });
}

// The same for a question, whose failure value alone would read as "not revoked": one that throws leaves a code behind.
template <class Context, class Result, class Body>
Result asking(void* context, Result failure, Body&& body) noexcept {
  if (context == nullptr) return failure;
  auto& asked = *static_cast<Context*>(context);
  try {
    return static_cast<Result>(body(asked));
  } catch (...) {
    asked.report().errCode = kInternalError;
    return failure;
  }
}

// Whether every pointer that a caller handed in is there.
template <class... Pointers>
bool given(const Pointers*... pointers) {
  return ((pointers != nullptr) && ...);
}

inline std::span<const unsigned char> bytes(const unsigned char* data, std::size_t length) {
  return data == nullptr ? std::span<const unsigned char>() : std::span(data, length);
}

}  // namespace keystrand

// Silence of libxml2, which left alone writes to stderr.
#pragma once

#include <libxml/xmlerror.h>

namespace keystrand {

// For the handlers of libxml2 and libxslt that print.
inline void saysNothing(void*, const char*, ...) {}

// What libxml2 has to say on this thread goes nowhere while one lives.
class LibraryErrors {
 public:
  LibraryErrors()
      : handler_(xmlStructuredError),
        context_(xmlStructuredErrorContext),
        writer_(xmlGenericError),
        writerContext_(xmlGenericErrorContext) {
    xmlSetStructuredErrorFunc(nullptr, [](void*, xmlError*) {});
    xmlSetGenericErrorFunc(nullptr, saysNothing);
  }
  ~LibraryErrors() {
    xmlSetStructuredErrorFunc(context_, handler_);
    xmlSetGenericErrorFunc(writerContext_, writer_);
  }
  LibraryErrors(const LibraryErrors&) = delete;
  LibraryErrors& operator=(const LibraryErrors&) = delete;

 private:
  xmlStructuredErrorFunc handler_;
  void* context_;
  xmlGenericErrorFunc writer_;  // of what has no structure
  void* writerContext_;
};

}  // namespace keystrand

// One request over libcurl: the easy handle, the options that all requests share, what the answer leaves behind.
//
// Thread: one at a time; requests on different threads do not meet.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <span>
#include <string>

#include "keystrand/der/Buffer.h"
#include "net/BodyRoom.h"
#include "net/CurlHeaders.h"
#include "net/CurlSettings.h"
#include "support/Memory.h"

namespace keystrand {

using CurlHandle = std::unique_ptr<CURL, Releaser<&curl_easy_cleanup>>;
using CurlList = std::unique_ptr<curl_slist, Releaser<&curl_slist_free_all>>;
using CurlForm = std::unique_ptr<curl_mime, Releaser<&curl_mime_free>>;

class CurlRequest {
 public:
  // Takes the settings in force. `direct` passes every proxy by.
  explicit CurlRequest(const std::string& url, bool direct = false);
  CurlRequest(const CurlRequest&) = delete;
  CurlRequest& operator=(const CurlRequest&) = delete;

  // False for a URL that httpParseURL refuses; nothing may then be set or sent.
  [[nodiscard]] bool accepted() const { return accepted_; }

  // Where the body goes; dropped without one. `body` is emptied, and has to outlive perform(). A longer one than the
  // limit makes perform() fail.
  void captureBody(Buffer& body, std::uint64_t limit = kBodyLimit);
  // The body to send by PUT; has to outlive perform().
  void uploadFrom(std::span<const unsigned char> data);
  // "Accept:*/*", and the content type unless it is empty.
  void sendHeaders(std::string_view contentType);
  // An empty form of the request's own, for the caller to fill; it is what perform() sends. nullptr when memory is
  // short.
  curl_mime* sendForm();
  // An option that libcurl refuses makes perform() fail.
  void set(CURLoption option, long value) { keep(curl_easy_setopt(handle_.get(), option, value)); }
  void set(CURLoption option, const void* value) { keep(curl_easy_setopt(handle_.get(), option, value)); }

  // Once. The HTTP status, or kTransferFailed.
  int perform();
  [[nodiscard]] const CurlHeaders& headers() const { return headers_; }

 private:
  void keep(CURLcode result) { refused_ = refused_ || result != CURLE_OK; }
  void applyDefaults();
  void applyTimeout();
  void applyTrust();
  void applyProxy();
  void applyLog();

  static std::size_t onHeader(char* line, std::size_t size, std::size_t count, void* self) noexcept;
  static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self) noexcept;
  static std::size_t onUpload(char* dest, std::size_t size, std::size_t count, void* self) noexcept;

  const std::string url_;
  const int timeoutSeconds_;
  const bool direct_;
  const bool accepted_;
  const CurlSettings settings_;
  bool refused_ = false;
  Buffer* body_ = nullptr;
  std::uint64_t bodyLimit_ = kBodyLimit;
  std::span<const unsigned char> upload_;  // what is still to be sent
  CurlHeaders headers_;
  CurlList headerLines_;
  CurlForm form_;
  CurlHandle handle_;  // last, so that it goes first: it refers to the others
};

}  // namespace keystrand

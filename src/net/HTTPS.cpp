#include "net/HTTPS.h"

#include "net/CurlRequest.h"

namespace keystrand {

namespace {

constexpr int kOK = 200;
// More hops than any server needs; without a limit a loop would only end with the timeout.
constexpr long kMaxRedirects = 50;
// Many times the largest list there is. A parsed document takes many times its text.
constexpr std::uint64_t kXMLLimit = 32U << 20U;

bool get(CurlRequest& request, Buffer& body, std::uint64_t limit = kBodyLimit) {
  if (!request.accepted()) return false;
  request.captureBody(body, limit);
  request.set(CURLOPT_HTTPGET, 1L);
  request.set(CURLOPT_FOLLOWLOCATION, 1L);
  request.set(CURLOPT_MAXREDIRS, kMaxRedirects);
  return request.perform() == kOK;
}

// A text that the strict decoder has refused, and emptied the buffer over, is put back for the lenient one.
void decodeText(Buffer& body) {
  const std::uint32_t n = body.size();
  if (body.decodeBase64()) return;
  body.setSize(n);
  body.fromPEM();
}

std::string modificationTime(const CurlHeaders& headers) {
  return std::string(headers.find("last-modified").value_or(kNoModificationTime));
}

// Some servers label their lists as HTML.
bool maybeXML(std::string_view contentType) {
  return contentType.find("xml") != std::string_view::npos || contentType.find("html") != std::string_view::npos;
}

std::string_view lastComponent(std::string_view path) {
  return path.substr(path.find_last_of("/\\") + 1);
}

bool addFilePart(curl_mime* form, const std::string& name, std::span<const unsigned char> data,
                 const std::string& fileName) {
  curl_mimepart* part = curl_mime_addpart(form);
  return part != nullptr && curl_mime_name(part, name.c_str()) == CURLE_OK &&
         curl_mime_data(part, reinterpret_cast<const char*>(data.data()), data.size()) == CURLE_OK &&
         curl_mime_filename(part, fileName.c_str()) == CURLE_OK &&
         curl_mime_type(part, "application/pkix-crl") == CURLE_OK;
}

bool addTextPart(curl_mime* form, const std::string& name, const std::string& text) {
  curl_mimepart* part = curl_mime_addpart(form);
  return part != nullptr && curl_mime_name(part, name.c_str()) == CURLE_OK &&
         curl_mime_data(part, text.data(), text.size()) == CURLE_OK;
}

}  // namespace

bool httpsGetXML(const std::string& url, Buffer& body) {
  CurlRequest request(url);
  if (!get(request, body, kXMLLimit)) return false;
  const auto contentType = request.headers().find("content-type");
  if (contentType && !maybeXML(*contentType)) {
    body.reset();
    return false;
  }
  body.reserve(body.size() + 1);
  body.putByte(0);
  return true;
}

bool httpsGetObject(const std::string& url, Buffer& body) {
  CurlRequest request(url);
  if (!get(request, body)) return false;
  body.decodeBase64();
  return true;
}

bool httpsGetObjectAndTime(const std::string& url, Buffer& body, std::string& time, bool direct) {
  CurlRequest request(url, direct);
  if (!get(request, body)) return false;
  decodeText(body);
  time = modificationTime(request.headers());
  return true;
}

std::optional<std::string> httpsGetTime(const std::string& url, Buffer& buffer) {
  CurlRequest request(url);
  if (!request.accepted()) return std::nullopt;
  buffer.reset();
  request.set(CURLOPT_NOBODY, 1L);
  if (request.perform() != kOK) return std::nullopt;
  return modificationTime(request.headers());
}

int httpsPost(const std::string& url, std::string_view contentType, std::span<const unsigned char> data, Buffer* reply,
              std::uint64_t replyLimit) {
  CurlRequest request(url);
  if (!request.accepted()) return kURLRefused;
  if (reply != nullptr) request.captureBody(*reply, replyLimit);
  request.set(CURLOPT_POST, 1L);
  request.sendHeaders(contentType);
  request.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<long>(data.size()));
  request.set(CURLOPT_POSTFIELDS, data.empty() ? "" : static_cast<const void*>(data.data()));
  return request.perform();
}

int httpsPost(const std::string& url, std::span<const unsigned char> data) {
  return httpsPost(url, {}, data, nullptr);
}

int httpsPut(const std::string& url, std::string_view contentType, std::span<const unsigned char> data) {
  CurlRequest request(url);
  if (!request.accepted()) return kURLRefused;
  request.sendHeaders(contentType);
  request.uploadFrom(data);
  return request.perform();
}

int httpsUpload(const std::string& url, const std::string& fieldName, std::span<const unsigned char> data,
                const std::string& secondFieldName, const std::optional<std::string>& path) {
  CurlRequest request(url);
  if (!request.accepted()) return kURLRefused;
  request.sendHeaders({});
  curl_mime* form = request.sendForm();
  const std::string fileName = path ? std::string(lastComponent(*path)) : "crl.crl";
  if (form == nullptr || !addFilePart(form, fieldName, data, fileName) ||
      (path && !addTextPart(form, secondFieldName, *path)))
    return kTransferFailed;
  return request.perform();
}

}  // namespace keystrand

// A small HTTP/1.0 and HTTP/1.1 client written directly on Transport, for clients of the classes: what the library
// fetches itself goes through HTTPS.h. It goes by ProxyState: proxy, credentials, timeout and version.
//
// Every function makes one request, following up to 256 redirects of any kind; URLs have 511 bytes at most, the
// targets of redirects are lower-case. It blocks until the answer, a failure or a timeout, and logs nothing. The
// buffers stay the caller's.
//
// Thread: any number at a time, each with a Buffer of its own.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"
#include "net/HTTPResult.h"

namespace keystrand {

// GET. An answer of type xml is read by its length or by its chunks, with a zero byte behind it, and leaves no object
// behind for those functions that read one; a page of type html leads on to its first link. Any other answer counts as
// an object, whatever its status, except 401, 403, 404 and 407.

// One DER object, read to the end that its own header tells, or Base64 text, decoded. Base64 is read as far as the
// buffer has room.
bool httpGetObject(const std::string& url, Buffer& body);
// For answers of type xml; any other leaves `body` alone.
bool httpGetRaw(const std::string& url, Buffer& body);
// As httpGetObject. `time` is the value of Last-Modified in lower case, or kNoModificationTime; unchanged on failure.
bool httpGetObjectAndTime(const std::string& url, Buffer& body, std::string& time);
// A GET as well: the time alone, nothing when the request fails. `buffer` takes an answer of type xml.
std::optional<std::string> httpGetTime(const std::string& url, Buffer& buffer);

// The sending functions return a result word (HTTPResult.h). They follow a 301 only. With HTTP/1.1 the data waits for
// the server's 100; a server that answers otherwise at once is not sent any. An empty content type is not sent.
int httpPut(const std::string& url, std::string_view contentType, std::span<const unsigned char> data);
int httpPut(const std::string& url, std::span<const unsigned char> data);
// After a status of 100, 200, 201 or 204 the reply is read as httpGetObject reads; text that is no Base64 stays as it
// is. The reply does not tell whether it is whole.
int httpPost(const std::string& url, std::string_view contentType, std::span<const unsigned char> data, Buffer* reply);
int httpPost(const std::string& url, std::span<const unsigned char> data);
// A multipart form (RFC 7578): the data as a file of type application/pkix-crl, named after the last component of
// `path`, and `path` itself as a second field. Without a path: the one part, named crl.crl. The query of the URL is
// not sent.
int httpUpload(const std::string& url, std::string_view fieldName, std::span<const unsigned char> data,
               std::string_view secondFieldName, const std::optional<std::string>& path);

}  // namespace keystrand

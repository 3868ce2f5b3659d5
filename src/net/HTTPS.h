// The client that reaches the network for everything except LDAP: HTTP and HTTPS over libcurl.
//
// Servers are not verified on any path: what is fetched is signed, and its signature is what counts. Every function
// blocks until the answer, a failure or the timeout (CurlSettings.h). Nothing is logged here; callers do.
//
// Thread: any number at a time, each with a Buffer of its own.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"
#include "net/BodyRoom.h"
#include "net/CurlSettings.h"
#include "net/HTTPResult.h"

namespace keystrand {

// GET, redirects followed; true only for status 200. A URL that cannot be parsed leaves `body` alone; every other
// failure leaves in it what had arrived.

// An XML document of 32 MiB at most: refused, and `body` emptied, when its Content-Type names neither xml nor html. A
// zero byte is appended to the document and counted in size().
bool httpsGetXML(const std::string& url, Buffer& body);
// A Base64 body is decoded; one that begins as such a text and is none leaves `body` empty, any other stays as it came.
bool httpsGetObject(const std::string& url, Buffer& body);
// A Base64 or PEM body becomes DER. `time` is the value of Last-Modified just as it arrived, with leading blank and
// line end, or kNoModificationTime; unchanged on failure. `direct` passes every proxy by.
bool httpsGetObjectAndTime(const std::string& url, Buffer& body, std::string& time, bool direct = false);

// HEAD, redirects not followed: the time as httpsGetObjectAndTime gives it, nothing unless the status is 200. `buffer`
// is emptied.
std::optional<std::string> httpsGetTime(const std::string& url, Buffer& buffer);

// The sending functions return a result word (HTTPResult.h). An empty content type leaves the header to libcurl. A
// reply longer than its limit, in bytes, is a failure.
int httpsPost(const std::string& url, std::string_view contentType, std::span<const unsigned char> data, Buffer* reply,
              std::uint64_t replyLimit = kBodyLimit);
int httpsPost(const std::string& url, std::span<const unsigned char> data);
int httpsPut(const std::string& url, std::string_view contentType, std::span<const unsigned char> data);
// A multipart form (RFC 7578): the data as a file of type application/pkix-crl, named after the last component of
// `path`, and `path` itself as a second field. Without a path: the one part, named crl.crl.
int httpsUpload(const std::string& url, const std::string& fieldName, std::span<const unsigned char> data,
                const std::string& secondFieldName, const std::optional<std::string>& path);

}  // namespace keystrand

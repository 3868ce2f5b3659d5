// The server's side of the socket client: one request and one answer, on a Transport that has accepted a connection.
#pragma once

#include <string_view>

#include "keystrand/der/Buffer.h"
#include "net/Transport.h"

namespace keystrand {

// Reads a request of any method into `body`; true when it could be read. Its version becomes that of the whole process
// (ProxyState::httpVersion), for clients as well. Header values are lower-cased, so is what `expectedType` has to be
// part of the content type, if it is told; empty for any type. A request that expects a 100 is given it at once.
// Without a length the body is one DER object, or anything else up to the end; one that breaks off counts, and a
// request without a body, such as a GET, is only done when the timeout has struck.
bool httpReadRequest(Transport& client, std::string_view expectedType, Buffer& body);

// Status 200 and the contents of `body`. The status line begins with a blank, so the client has to be a lenient one.
// Always true: a client that has gone is told by the next read.
bool httpWriteResponse(Transport& client, std::string_view contentType, const Buffer& body);

}  // namespace keystrand

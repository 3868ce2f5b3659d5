// Requests that carry a body: PUT, POST and the upload of a form.
#include <algorithm>
#include <array>

#include "net/HTTP.h"
#include "net/HTTPAnswer.h"
#include "net/HTTPBody.h"
#include "net/HTTPConnection.h"

namespace keystrand {

namespace {

constexpr int kContinue = 100;
constexpr int kMovedPermanently = 301;
constexpr std::array kGoOn = {kContinue, 200, 204, 201};  // with any other status nothing more is read
constexpr std::uint32_t kPageRoom = 1024;

// Text around the data that a caller keeps.
struct OutgoingBody {
  std::string before;
  std::span<const unsigned char> data;
  std::string after;

  [[nodiscard]] std::size_t size() const { return before.size() + data.size() + after.size(); }
};

struct SendingRequest {
  std::string_view method;
  std::string url;       // as the caller gave it
  std::string typeLine;  // with its line end; empty for none
  OutgoingBody body;
  bool isForm = false;
};

bool goesOn(int status) {
  return std::find(kGoOn.begin(), kGoOn.end(), status) != kGoOn.end();
}

// A proxy is given the caller's URL on every hop. A form goes to the bare path.
std::string targetOf(const SendingRequest& request, const HTTPConnection& connection) {
  if (connection.wantsWholeURL()) return request.url;
  if (request.isForm) return connection.url().path.value_or("");
  return connection.url().path.value_or("/").append(connection.query());
}

std::string headOf(const SendingRequest& request, const HTTPConnection& connection) {
  std::string text(request.method);
  text.append(" ").append(targetOf(request, connection)).append(connection.version());
  text.append("User-Agent: Mozilla/4.0 (compatible)\r\nHost: ").append(connection.url().host);
  text.append("\r\nAccept: */*\r\n").append(request.typeLine);
  text.append("Content-Length: ").append(std::to_string(request.body.size())).append("\r\n");
  if (!connection.isHTTP10()) text += "Expect: 100-continue\r\n";
  return text.append(connection.credentialLines()).append("\r\n");
}

void sendBody(const OutgoingBody& body, HTTPConnection& connection) {
  connection.send(body.before);
  connection.send(body.data);
  connection.send(body.after);
}

// A page is thrown away. One that is longer than the room for it stays on the connection.
void passPage(HTTPConnection& connection) {
  const AnswerHead page = pageOf(connection.rows());
  if (!page.html) return;
  Buffer room(kPageRoom);
  if (page.length == 0)
    readToEnd(connection.transport(), room);
  else if (page.length <= kPageRoom)
    connection.transport().read(room, static_cast<std::uint32_t>(page.length));
}

// What follows the header of the answer that was no redirect.
int finish(const SendingRequest& request, HTTPConnection& connection, int status) {
  if (!goesOn(status)) return status;
  if (!connection.isHTTP10() && status == kContinue) {
    sendBody(request.body, connection);
    if (!connection.readHeader()) return kTransferFailed;
    status = statusOfFirstRow(connection.rows());
  }
  passPage(connection);
  return status;
}

int exchange(const SendingRequest& request, HTTPConnection& connection) {
  std::string url = request.url;
  for (int hop = 0; hop < HTTPConnection::kMostHops; ++hop) {
    if (const int refused = connection.open(url); refused != 0) return refused;
    connection.send(headOf(request, connection));
    if (connection.isHTTP10()) sendBody(request.body, connection);
    if (!connection.readHeader()) return kTransferFailed;
    const AnswerHead head = answerToSending(connection.rows());
    if (head.status != kMovedPermanently || !head.location) return finish(request, connection, head.status);
    url = *head.location;
  }
  return kTransferFailed;
}

SendingRequest plain(std::string_view method, const std::string& url, std::string_view contentType,
                     std::span<const unsigned char> data) {
  SendingRequest request{.method = method, .url = url, .typeLine = {}, .body = {{}, data, {}}};
  if (!contentType.empty()) request.typeLine.append("Content-Type: ").append(contentType).append("\r\n");
  return request;
}

OutgoingBody formOf(std::string_view fieldName, std::span<const unsigned char> data, std::string_view secondFieldName,
                    const std::optional<std::string>& path) {
  OutgoingBody form{"--boundCRL\r\nContent-disposition: form-data; name=\"", data, {}};
  form.before.append(fieldName).append("\";filename=\"");
  form.before.append(path ? path->substr(path->rfind('/') + 1) : "crl.crl");
  form.before.append("\"\r\nContent-type: application/pkix-crl\r\nContent-length: ");
  form.before.append(std::to_string(data.size())).append("\r\nContent-Transfer-Encoding: binary\r\n\r\n");
  if (path) {
    form.after.append("\r\n--boundCRL\r\nContent-disposition: form-data; name=\"").append(secondFieldName);
    form.after.append("\"\r\n\r\n").append(*path);
  }
  form.after.append("\r\n--boundCRL--\r\n\r\n");
  return form;
}

}  // namespace

int httpPut(const std::string& url, std::string_view contentType, std::span<const unsigned char> data) {
  HTTPConnection connection;
  return exchange(plain("PUT", url, contentType, data), connection);
}

int httpPut(const std::string& url, std::span<const unsigned char> data) {
  return httpPut(url, {}, data);
}

int httpPost(const std::string& url, std::string_view contentType, std::span<const unsigned char> data, Buffer* reply) {
  HTTPConnection connection;
  const int result = exchange(plain("POST", url, contentType, data), connection);
  if (reply != nullptr && goesOn(result)) readObject(connection.transport(), *reply, TextBody::decode);
  return result;
}

int httpPost(const std::string& url, std::span<const unsigned char> data) {
  return httpPost(url, {}, data, nullptr);
}

int httpUpload(const std::string& url, std::string_view fieldName, std::span<const unsigned char> data,
               std::string_view secondFieldName, const std::optional<std::string>& path) {
  HTTPConnection connection;
  return exchange({.method = "POST",
                   .url = url,
                   .typeLine = "Content-type: multipart/form-data; boundary=boundCRL\r\n",
                   .body = formOf(fieldName, data, secondFieldName, path),
                   .isForm = true},
                  connection);
}

}  // namespace keystrand

#include "support/NginxServer.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "support/Builders.h"
#include "support/Texts.h"

namespace keystrand::test {

namespace fs = std::filesystem;

namespace {

// Requests of the fixture itself: once such a mark is in the log, all requests before it are.
constexpr std::string_view kMark = "/_mark_";

constexpr const char* kConfiguration = R"(daemon off;
master_process off;
pid DIR/pid;
error_log DIR/error.log;
events { worker_connections 256; }
http {
  log_format plain '$request_method $request_uri $status';
  access_log DIR/access.log plain;
  client_body_temp_path DIR/body;
  proxy_temp_path DIR/proxy;
  fastcgi_temp_path DIR/fastcgi;
  uwsgi_temp_path DIR/uwsgi;
  scgi_temp_path DIR/scgi;
  types { application/pkix-crl crl; application/xml xml; text/plain txt; text/html html; text/css css; }
  default_type application/octet-stream;
  server {
    listen 127.0.0.1:PORT;
    listen 127.0.0.1:TLSPORT ssl http2;
    ssl_certificate DIR/server.pem;
    ssl_certificate_key DIR/server.key;
    root DIR/www;
    client_max_body_size 64m;
    location /dav/ { dav_methods PUT; create_full_put_path on; }
    DIRECTIVES
  }
}
)";

}  // namespace

NginxServer::NginxServer(const std::string& directives) {
  fs::create_directories(folder_ / "www");
  writeAuthority(makeAuthority({.subject = {{"CN", "somebody.else"}}, .notAfter = "20200102000000Z", .extensions = {}}),
                 folder_ / "server.pem", folder_ / "server.key");
  constexpr int kAttempts = 5;  // another program may take a port before nginx does
  for (int attempt = 0; attempt < kAttempts; ++attempt)
    if (start(directives)) return;
  throw std::runtime_error("nginx did not start: " + content("../error.log"));
}

bool NginxServer::start(const std::string& directives) {
  port_ = freePort();
  httpsPort_ = freePort();
  writeConfiguration(directives);
  process_.emplace(std::vector<std::string>{findProgram("nginx"), "-p", folder_.path(), "-c", folder_ / "nginx.conf"});
  const auto settled = [this] { return !process_->running() || (accepts(port_) && accepts(httpsPort_)); };
  return eventually(settled) && process_->running();
}

std::string NginxServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::string NginxServer::httpsURL(const std::string& path) const {
  return "https://127.0.0.1:" + std::to_string(httpsPort_) + path;
}

void NginxServer::put(const std::string& path, std::span<const unsigned char> bytes,
                      std::optional<std::time_t> modified) const {
  put(path, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), modified);
}

// Renamed into place, so a request sees the old file or the new one.
void NginxServer::put(const std::string& path, std::string_view text, std::optional<std::time_t> modified) const {
  const fs::path file = fileOf(path);
  const fs::path draft = folder_ / "draft";
  fs::create_directories(file.parent_path());
  std::ofstream(draft, std::ios::binary) << text;
  if (modified)
    fs::last_write_time(draft, fs::file_time_type::clock::from_sys(std::chrono::system_clock::from_time_t(*modified)));
  fs::rename(draft, file);
}

void NginxServer::remove(const std::string& path) const {
  fs::remove(fileOf(path));
}

std::string NginxServer::content(const std::string& path) const {
  return readText(fileOf(path));
}

std::vector<NginxServer::Request> NginxServer::requests() {
  const std::string mark = std::string(kMark) + std::to_string(++marks_);
  ask(port_, "GET " + mark + " HTTP/1.0\r\n\r\n");
  std::vector<Request> all;
  const bool seen = eventually([&] {
    all = readLog();
    return std::any_of(all.begin(), all.end(), [&](const Request& request) { return request.uri == mark; });
  });
  if (!seen) throw std::runtime_error("nginx does not log");
  std::erase_if(all, [](const Request& request) { return request.uri.starts_with(kMark); });
  all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(forgotten_));
  return all;
}

int NginxServer::count(std::string_view method, std::string_view uri) {
  const std::vector<Request> all = requests();
  return static_cast<int>(std::count_if(
      all.begin(), all.end(), [&](const Request& request) { return request.method == method && request.uri == uri; }));
}

void NginxServer::forget() {
  forgotten_ += requests().size();
}

void NginxServer::writeConfiguration(const std::string& directives) const {
  std::string text = replaced(kConfiguration, "DIRECTIVES", directives);
  text = replaced(text, "TLSPORT", std::to_string(httpsPort_));
  text = replaced(text, "PORT", std::to_string(port_));
  std::ofstream(folder_ / "nginx.conf") << replaced(text, "DIR", folder_.path().string());
}

fs::path NginxServer::fileOf(const std::string& path) const {
  return folder_.path() / "www" / fs::path(path).relative_path();
}

std::vector<NginxServer::Request> NginxServer::readLog() const {
  std::ifstream log(folder_ / "access.log");
  std::vector<Request> all;
  for (std::string line; std::getline(log, line);) {
    Request request{};
    std::istringstream(line) >> request.method >> request.uri >> request.status;
    all.push_back(request);
  }
  return all;
}

}  // namespace keystrand::test

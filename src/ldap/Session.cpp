#include "ldap/Session.h"

#include <utility>

namespace keystrand {

namespace {
constexpr std::size_t kLongestHost = 127;
}

Session::Session(Buffer& buffer, std::string host, std::uint16_t port)
    : host_(std::move(host)), port_(port), buffer_(&buffer) {}

Session::Session(std::unique_ptr<Buffer> buffer, std::string host, std::uint16_t port)
    : host_(std::move(host)), port_(port), ownBuffer_(std::move(buffer)), buffer_(ownBuffer_.get()) {}

bool Session::connect() {
  buffer_->reset();
  limit_.emplace(transport_);
  if (!host_.empty() && host_.size() <= kLongestHost) transport_.connect(host_, port_);
  return transport_.isConnected();
}

bool Session::connect(const std::string& host) {
  host_ = host;
  return connect();
}

void Session::disconnect() {
  buffer_->reset();
  transport_.close();
  limit_.reset();
}

void Session::setBuffer(Buffer& buffer) noexcept {
  ownBuffer_.reset();
  buffer_ = &buffer;
}

}  // namespace keystrand

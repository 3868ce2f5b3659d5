// What a trust service list says of a service (ETSI TS 119 612 section 5.5): one record for the current state and a
// chain for the history, newest first.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "keystrand/der/Buffer.h"

namespace keystrand {

class KEYSTRAND_API TSLMetadata {
 public:
  TSLMetadata() = default;
  ~TSLMetadata();  // the chain goes too, without recursion
  TSLMetadata(const TSLMetadata&) = delete;
  TSLMetadata& operator=(const TSLMetadata&) = delete;
  [[nodiscard]] owner<TSLMetadata*> clone() const;  // deep, with the chain

  // Texts are new and delete[]d by the caller; nullptr when absent. A setter with nullptr clears.
  [[nodiscard]] owner<char*> getCountryCode() const;  // always a text of two bytes
  void setCountryCode(const char* code);              // two bytes are taken
  [[nodiscard]] bool hasCountry(const char* code) const noexcept;
  [[nodiscard]] owner<char*> getServiceType() const;
  void setServiceType(const char* text);
  [[nodiscard]] owner<char*> getServiceName() const;
  void setServiceName(const char* text);
  [[nodiscard]] owner<char*> getServiceStatus() const;
  void setServiceStatus(const char* text);
  [[nodiscard]] owner<char*> getStatusStartingTime() const;
  void setStatusStartingTime(const char* text);
  [[nodiscard]] owner<TSLMetadata*> getNext() const;  // a deep copy of the chain behind this record
  void setNext(owner<TSLMetadata*> record);           // adopts it
  [[nodiscard]] const TSLMetadata* nextView() const noexcept { return next_.get(); }
  [[nodiscard]] const std::optional<std::string>& serviceTypeView() const noexcept { return serviceType_; }
  [[nodiscard]] const std::optional<std::string>& serviceNameView() const noexcept { return serviceName_; }
  [[nodiscard]] const std::optional<std::string>& serviceStatusView() const noexcept { return serviceStatus_; }
  [[nodiscard]] const std::optional<std::string>& statusStartingTimeView() const noexcept {
    return statusStartingTime_;
  }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void serialize(Buffer& buffer) const;
  bool parse(Buffer& buffer);

 private:
  void copyFields(const TSLMetadata& other);
  [[nodiscard]] std::uint32_t fieldsSize(const Buffer& buffer) const;
  [[nodiscard]] std::vector<std::uint32_t> contentSizes(const Buffer& buffer) const;
  void putFields(Buffer& buffer) const;
  bool getFields(Buffer& buffer);

  std::array<char, 2> countryCode_{};
  std::optional<std::string> serviceType_;
  std::optional<std::string> serviceName_;
  std::optional<std::string> serviceStatus_;
  std::optional<std::string> statusStartingTime_;
  std::unique_ptr<TSLMetadata> next_;
};

}  // namespace keystrand

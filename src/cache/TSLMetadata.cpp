#include "keystrand/cache/TSLMetadata.h"

#include <utility>
#include <vector>

#include "cache/RecordFields.h"
#include "der/Reading.h"
#include "support/Memory.h"

namespace keystrand {
namespace {

owner<char*> textOf(const std::optional<std::string>& text) {
  return text ? newText(*text) : nullptr;
}

std::optional<std::string> optionalText(const char* text) {
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace

TSLMetadata::~TSLMetadata() {
  while (next_) next_ = std::move(next_->next_);
}

owner<TSLMetadata*> TSLMetadata::clone() const {
  std::unique_ptr<TSLMetadata> head;
  std::unique_ptr<TSLMetadata>* end = &head;
  for (const TSLMetadata* record = this; record != nullptr; record = record->nextView()) {
    *end = std::make_unique<TSLMetadata>();
    (*end)->copyFields(*record);
    end = &(*end)->next_;
  }
  return head.release();
}

void TSLMetadata::copyFields(const TSLMetadata& other) {
  countryCode_ = other.countryCode_;
  serviceType_ = other.serviceType_;
  serviceName_ = other.serviceName_;
  serviceStatus_ = other.serviceStatus_;
  statusStartingTime_ = other.statusStartingTime_;
}

owner<char*> TSLMetadata::getCountryCode() const {
  return newText({countryCode_.data(), countryCode_.size()});
}

void TSLMetadata::setCountryCode(const char* code) {
  countryCode_ = countryCodeOf(code != nullptr ? code : "");
}

bool TSLMetadata::hasCountry(const char* code) const noexcept {
  return isCountry(countryCode_, code);
}

owner<char*> TSLMetadata::getServiceType() const {
  return textOf(serviceType_);
}

void TSLMetadata::setServiceType(const char* text) {
  serviceType_ = optionalText(text);
}

owner<char*> TSLMetadata::getServiceName() const {
  return textOf(serviceName_);
}

void TSLMetadata::setServiceName(const char* text) {
  serviceName_ = optionalText(text);
}

owner<char*> TSLMetadata::getServiceStatus() const {
  return textOf(serviceStatus_);
}

void TSLMetadata::setServiceStatus(const char* text) {
  serviceStatus_ = optionalText(text);
}

owner<char*> TSLMetadata::getStatusStartingTime() const {
  return textOf(statusStartingTime_);
}

void TSLMetadata::setStatusStartingTime(const char* text) {
  statusStartingTime_ = optionalText(text);
}

owner<TSLMetadata*> TSLMetadata::getNext() const {
  return cloneOf(next_);
}

void TSLMetadata::setNext(owner<TSLMetadata*> record) {
  next_.reset(record);
}

// --- coding ---------------------------------------------------------------------------------------------------
// Each record holds its successor as its last element, to any depth, so the chain is walked, not recursed.

std::uint32_t TSLMetadata::fieldsSize(const Buffer& buffer) const {
  return sizeText(buffer, serviceType_) + sizeText(buffer, serviceName_) + sizeCountryCode(buffer, countryCode_) +
         sizeText(buffer, serviceStatus_) + sizeText(buffer, statusStartingTime_);
}

// The size of the content of each record of the chain, this one first. The innermost is known first.
std::vector<std::uint32_t> TSLMetadata::contentSizes(const Buffer& buffer) const {
  std::vector<std::uint32_t> sizes;
  for (const TSLMetadata* record = this; record != nullptr; record = record->nextView()) {
    sizes.push_back(record->fieldsSize(buffer));
  }
  for (std::size_t i = sizes.size() - 1; i > 0; --i) sizes[i - 1] += buffer.sizeSequence(sizes[i]);
  return sizes;
}

std::uint32_t TSLMetadata::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSizes(buffer).front());
}

void TSLMetadata::serialize(Buffer& buffer) const {
  const TSLMetadata* record = this;
  for (const std::uint32_t content : contentSizes(buffer)) {
    buffer.putSequence(content);
    record->putFields(buffer);
    record = record->nextView();
  }
}

void TSLMetadata::putFields(Buffer& buffer) const {
  putText(buffer, serviceType_);
  putText(buffer, serviceName_);
  putCountryCode(buffer, countryCode_);
  putText(buffer, serviceStatus_);
  putText(buffer, statusStartingTime_);
}

bool TSLMetadata::getFields(Buffer& buffer) {
  return getText(buffer, serviceType_) && getText(buffer, serviceName_) &&
         keystrand::getCountryCode(buffer, countryCode_) && getText(buffer, serviceStatus_) &&
         getText(buffer, statusStartingTime_);
}

bool TSLMetadata::parse(Buffer& buffer) {
  for (TSLMetadata* record = this;; record = record->next_.get()) {
    Element element;
    if (!openWhole(element, buffer, kSequence) || !record->getFields(buffer)) return false;
    if (element.atEnd(buffer)) return true;
    record->next_ = std::make_unique<TSLMetadata>();
  }
}

}  // namespace keystrand

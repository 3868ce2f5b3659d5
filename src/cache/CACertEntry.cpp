#include "cache/CACertEntry.h"

#include <utility>

#include "der/Reading.h"
#include "support/Memory.h"

namespace keystrand {

CACertEntry::CACertEntry(std::unique_ptr<Certificate> certificate, std::int32_t source,
                         std::shared_ptr<const TSLMetadata> metadata)
    : certificate_(std::move(certificate)),
      issuer_(copyOf(certificate_->issuerView())),
      serial_(certificate_->infoView()->serialNumberView()),
      source_(source),
      metadata_(std::move(metadata)) {}

bool CACertEntry::hasCountry(const char* code) const noexcept {
  return metadata_ && metadata_->hasCountry(code);
}

std::uint32_t CACertEntry::contentSize(const Buffer& buffer) const {
  return certificate_->size(buffer) + issuer_->size(buffer) + serial_.size(buffer) + buffer.sizeInteger(source_) +
         (metadata_ ? metadata_->size(buffer) : 0);
}

std::uint32_t CACertEntry::size(const Buffer& buffer) const {
  return buffer.sizeSequence(contentSize(buffer));
}

void CACertEntry::serialize(Buffer& buffer) const {
  buffer.putSequence(contentSize(buffer));
  certificate_->put(buffer);
  issuer_->put(buffer);
  serial_.put(buffer);
  buffer.putInteger(source_);
  if (metadata_) metadata_->serialize(buffer);
}

// The certificate is read without a digest: a signature check makes it when it is wanted.
bool CACertEntry::parse(Buffer& buffer) {
  Element entry;
  if (!openWhole(entry, buffer, kSequence) || !getNew(certificate_, buffer) || !getNew(issuer_, buffer) ||
      !serial_.get(buffer) || !buffer.getInteger(source_)) {
    return false;
  }
  if (entry.atEnd(buffer)) return true;
  auto metadata = std::make_shared<TSLMetadata>();
  metadata_ = metadata;
  return metadata->parse(buffer);
}

}  // namespace keystrand

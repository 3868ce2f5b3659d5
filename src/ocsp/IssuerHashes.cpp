#include "ocsp/IssuerHashes.h"

#include "keystrand/crypto/ECDSAPublicKey.h"

namespace keystrand {

namespace {

constexpr const char* kSHA1 = "1.3.14.3.2.26";

// An EC key writes a BIT STRING of its own, of which only the point counts.
void putKeyOctets(const Key& key, Buffer& buffer) {
  if (const auto* ec = dynamic_cast<const ECDSAPublicKey*>(&key)) {
    buffer.append(ec->pointView().data(), static_cast<std::uint32_t>(ec->pointView().size()));
  } else {
    key.put(buffer);
  }
}

}  // namespace

std::optional<IssuerHashes> hashIssuer(const Certificate& issuer, const AlgorithmIdentifier& algorithm,
                                       SecureBuffer& work, Semaphore* semaphore) {
  const KeyInfo* keyInfo = issuer.subjectPublicKeyInfoView();
  if (issuer.subjectView() == nullptr || keyInfo == nullptr || keyInfo->keyView() == nullptr) return std::nullopt;
  work.reset();
  issuer.subjectView()->put(work);
  const std::uint32_t nameEnd = work.size();
  putKeyOctets(*keyInfo->keyView(), work);
  const SemaphoreLock device(semaphore);
  if (!work.setDigestAlgorithm(algorithm)) return std::nullopt;
  IssuerHashes hashes;
  hashes.name.reset(work.digestRange(0, nameEnd));
  hashes.key.reset(work.digestRange(nameEnd, work.size()));
  if (!hashes.name || !hashes.key) return std::nullopt;
  return hashes;
}

std::unique_ptr<OCSPRequest> requestFor(const Certificate& issuer, const BigInteger& serial, SecureBuffer& work,
                                        Semaphore* semaphore) {
  auto certID = std::make_unique<CertID>();
  certID->setHashAlgorithm(kSHA1);
  const auto hashes = hashIssuer(issuer, *certID->hashAlgorithmView(), work, semaphore);
  if (!hashes) return nullptr;
  certID->setIssuerNameHash(hashes->name->valueView().data(), hashes->name->length());
  certID->setIssuerKeyHash(hashes->key->valueView().data(), hashes->key->length());
  certID->setSerialNumber(serial);
  auto one = std::make_unique<Request>();
  one->setReqCert(std::move(certID));
  auto list = std::make_unique<RequestList>();
  list->add(std::move(one));
  auto tbs = std::make_unique<TBSRequest>();
  tbs->setRequestList(std::move(list));
  auto request = std::make_unique<OCSPRequest>();
  request->setTbsRequest(std::move(tbs));
  return request;
}

}  // namespace keystrand

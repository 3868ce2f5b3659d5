// OCSP, ours beside OpenSSL's on the same bytes: the request made and written, a response read and verified down to the
// issuer, and a whole exchange with a responder on loopback beside the same done with libcurl and OpenSSL by hand.
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <openssl/bn.h>
#include <openssl/ocsp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "der/BorrowedBuffer.h"
#include "keystrand/crypto/CryptoKi.h"
#include "ocsp/IssuerHashes.h"
#include "ocsp/OCSPChecker.h"
#include "support/OCSPBuilders.h"
#include "support/ScriptedServer.h"

namespace keystrand::bench {

namespace {

using test::Authority;
using test::ByteString;

template <auto Release>
struct Releaser {
  void operator()(auto* handle) const noexcept { Release(handle); }
};
using CertificateHandle = std::unique_ptr<X509, Releaser<&X509_free>>;
using StoreHandle = std::unique_ptr<X509_STORE, Releaser<&X509_STORE_free>>;
using IntegerHandle = std::unique_ptr<ASN1_INTEGER, Releaser<&ASN1_INTEGER_free>>;
using CertIDHandle = std::unique_ptr<OCSP_CERTID, Releaser<&OCSP_CERTID_free>>;
using RequestHandle = std::unique_ptr<OCSP_REQUEST, Releaser<&OCSP_REQUEST_free>>;
using ResponseHandle = std::unique_ptr<OCSP_RESPONSE, Releaser<&OCSP_RESPONSE_free>>;
using BasicHandle = std::unique_ptr<OCSP_BASICRESP, Releaser<&OCSP_BASICRESP_free>>;
using CurlHandle = std::unique_ptr<CURL, Releaser<&curl_easy_cleanup>>;
using HeaderList = std::unique_ptr<curl_slist, Releaser<&curl_slist_free_all>>;

void require(bool condition) {
  if (!condition) std::abort();
}

constexpr const char* kSerial = "0123456789ABCDEF0123456789ABCDEF01234567";

// A CA, a responder that it has certified, and the response of that responder.
struct Scene {
  explicit Scene(const std::string& kind) : ca(test::makeAuthority({.key = test::privateKey(kind, 20)})) {
    const test::PrivateKey key = test::privateKey(kind, 21);
    const Authority responder{
        key, test::makeCertificate(ca, {.subject = {{"C", "IT"}, {"O", "Keystrand"}, {"CN", "Responder"}},
                                        .key = key,
                                        .extensions = {{"keyUsage", "critical,digitalSignature"},
                                                       {"extendedKeyUsage", "OCSPSigning"},
                                                       {"subjectKeyIdentifier", "hash"},
                                                       {"authorityKeyIdentifier", "keyid:always"}}})};
    response = test::makeResponse(test::makeBasicResponse(ca, responder, {.singles = {{.serial = kSerial}}}));
  }
  Authority ca;
  ByteString response;
};

const Scene& scene(const std::string& kind) {
  static const Scene rsa("RSA-2048");
  static const Scene p256("P-256");
  return kind == "P-256" ? p256 : rsa;
}

// --- ours ------------------------------------------------------------------------------------------------------------

CryptoDevice& device() {
  static CryptoKi binding;
  static CryptoDevice opened(&binding);
  static const bool open = opened.open(0, nullptr, 0);
  require(open);
  return opened;
}

Semaphore& semaphore() {
  static Semaphore one;
  return one;
}

struct OurIssuer {
  explicit OurIssuer(const Scene& scene) {
    BorrowedBuffer in(scene.ca.certificate);
    require(certificate.get(in) && BigInteger::parse(kSerial, 16, serial));
  }
  Certificate certificate;
  BigInteger serial;
};

void writeRequest(const OurIssuer& issuer, SecureBuffer& work) {
  const auto request = requestFor(issuer.certificate, issuer.serial, work, &semaphore());
  work.reset();
  request->put(work);
}

bool verifyResponse(const ByteString& encoding, const KeyInfo& issuerKey, SecureBuffer& work) {
  BorrowedBuffer in(encoding);
  OCSPResponse response;
  if (!response.get(in)) return false;
  const auto bytes = response.responseBytesView()->responseView();
  work.assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  BasicOCSPResponse basic;
  if (!basic.get(work)) return false;
  Certificate& responder = *basic.certsView()->view(0);
  return basic.verify(device(), *responder.subjectPublicKeyInfoView()) && responder.verify(device(), issuerKey);
}

void requestOurs(benchmark::State& state, const char* kind) {
  const OurIssuer issuer(scene(kind));
  SecureBuffer work(&device(), 4096);
  for (auto _ : state) writeRequest(issuer, work);
  require(std::ranges::equal(work.range(0, work.size()), test::makeRequest(scene(kind).ca, kSerial)));
  state.SetItemsProcessed(state.iterations());
}

void verifyOurs(benchmark::State& state, const char* kind) {
  const OurIssuer issuer(scene(kind));
  SecureBuffer work(&device(), 4096);
  const KeyInfo& key = *issuer.certificate.subjectPublicKeyInfoView();
  for (auto _ : state) require(verifyResponse(scene(kind).response, key, work));
  state.SetItemsProcessed(state.iterations());
}

// --- OpenSSL ---------------------------------------------------------------------------------------------------------

CertificateHandle decodedCA(const Scene& scene) {
  const unsigned char* at = scene.ca.certificate.data();
  return CertificateHandle(d2i_X509(nullptr, &at, static_cast<long>(scene.ca.certificate.size())));
}

struct TheirIssuer {
  explicit TheirIssuer(const Scene& scene) : certificate(decodedCA(scene)), store(X509_STORE_new()) {
    BIGNUM* number = nullptr;
    BN_hex2bn(&number, kSerial);
    serial.reset(BN_to_ASN1_INTEGER(number, nullptr));
    BN_free(number);
    require(X509_STORE_add_cert(store.get(), certificate.get()) == 1);
  }
  [[nodiscard]] CertIDHandle certID() const {
    return CertIDHandle(OCSP_cert_id_new(EVP_sha1(), X509_get_subject_name(certificate.get()),
                                         X509_get0_pubkey_bitstr(certificate.get()), serial.get()));
  }
  CertificateHandle certificate;
  StoreHandle store;
  IntegerHandle serial;
};

void writeRequest(const TheirIssuer& issuer, ByteString& out) {
  const RequestHandle request(OCSP_REQUEST_new());
  require(OCSP_request_add0_id(request.get(), issuer.certID().release()) != nullptr);
  out.resize(static_cast<std::size_t>(i2d_OCSP_REQUEST(request.get(), nullptr)));
  unsigned char* at = out.data();
  i2d_OCSP_REQUEST(request.get(), &at);
}

BasicHandle verifiedResponse(const ByteString& encoding, X509_STORE* store) {
  const unsigned char* at = encoding.data();
  const ResponseHandle response(d2i_OCSP_RESPONSE(nullptr, &at, static_cast<long>(encoding.size())));
  if (!response) return nullptr;
  BasicHandle basic(OCSP_response_get1_basic(response.get()));
  return basic && OCSP_basic_verify(basic.get(), nullptr, store, 0) == 1 ? std::move(basic) : nullptr;
}

void requestOpenSSL(benchmark::State& state, const char* kind) {
  const TheirIssuer issuer(scene(kind));
  ByteString out;
  for (auto _ : state) writeRequest(issuer, out);
  require(out == test::makeRequest(scene(kind).ca, kSerial));
  state.SetItemsProcessed(state.iterations());
}

void verifyOpenSSL(benchmark::State& state, const char* kind) {
  const TheirIssuer issuer(scene(kind));
  for (auto _ : state) require(verifiedResponse(scene(kind).response, issuer.store.get()) != nullptr);
  state.SetItemsProcessed(state.iterations());
}

// --- a whole exchange ------------------------------------------------------------------------------------------------

std::string answerOf(const Scene& scene) {
  return test::ScriptedServer::ok({scene.response.begin(), scene.response.end()});
}

void exchangeOurs(benchmark::State& state, const char* kind) {
  const OurIssuer issuer(scene(kind));
  const test::ScriptedServer server({{answerOf(scene(kind))}});
  const std::string url = server.url();
  OCSPChecker checker(&device(), &semaphore());
  for (auto _ : state) {
    require(!checker.check(url.c_str(), &issuer.certificate, kSerial) && checker.report().errCode == kNoError);
  }
  state.SetItemsProcessed(state.iterations());
}

std::size_t append(char* data, std::size_t size, std::size_t count, void* body) {
  auto* bytes = reinterpret_cast<unsigned char*>(data);
  static_cast<ByteString*>(body)->insert(static_cast<ByteString*>(body)->end(), bytes, bytes + size * count);
  return size * count;
}

ByteString postByHand(const std::string& url, const ByteString& request) {
  const CurlHandle handle(curl_easy_init());
  const HeaderList headers(curl_slist_append(nullptr, "Content-Type:application/ocsp-request"));
  ByteString body;
  curl_easy_setopt(handle.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(handle.get(), CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(request.size()));
  curl_easy_setopt(handle.get(), CURLOPT_POSTFIELDS, request.data());
  curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, &append);
  curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &body);
  require(curl_easy_perform(handle.get()) == CURLE_OK);
  return body;
}

void exchangeByHand(benchmark::State& state, const char* kind) {
  const TheirIssuer issuer(scene(kind));
  const test::ScriptedServer server({{answerOf(scene(kind))}});
  const std::string url = server.url();
  ByteString request;
  for (auto _ : state) {
    writeRequest(issuer, request);
    const BasicHandle basic = verifiedResponse(postByHand(url, request), issuer.store.get());
    int status = -1;
    require(basic && OCSP_resp_find_status(basic.get(), issuer.certID().get(), &status, nullptr, nullptr, nullptr,
                                           nullptr) == 1);
    require(status == V_OCSP_CERTSTATUS_GOOD);
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK_CAPTURE(requestOurs, RSA2048, "RSA-2048")->Name("ocsp_request/ours/RSA2048");
BENCHMARK_CAPTURE(requestOpenSSL, RSA2048, "RSA-2048")->Name("ocsp_request/openssl/RSA2048");
BENCHMARK_CAPTURE(requestOurs, P256, "P-256")->Name("ocsp_request/ours/P256");
BENCHMARK_CAPTURE(requestOpenSSL, P256, "P-256")->Name("ocsp_request/openssl/P256");
BENCHMARK_CAPTURE(verifyOurs, RSA2048, "RSA-2048")->Name("ocsp_verify/ours/RSA2048");
BENCHMARK_CAPTURE(verifyOpenSSL, RSA2048, "RSA-2048")->Name("ocsp_verify/openssl/RSA2048");
BENCHMARK_CAPTURE(verifyOurs, P256, "P-256")->Name("ocsp_verify/ours/P256");
BENCHMARK_CAPTURE(verifyOpenSSL, P256, "P-256")->Name("ocsp_verify/openssl/P256");
BENCHMARK_CAPTURE(exchangeOurs, RSA2048, "RSA-2048")->Name("ocsp_exchange/ours/RSA2048")->UseRealTime();
BENCHMARK_CAPTURE(exchangeByHand, RSA2048, "RSA-2048")->Name("ocsp_exchange/by_hand/RSA2048")->UseRealTime();

}  // namespace

}  // namespace keystrand::bench

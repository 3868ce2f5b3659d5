#include <gtest/gtest.h>

#include <map>

#include "keystrand/pkix/Certificate.h"
#include "pkix/CertificateFiles.h"
#include "pkix/OpenSSLOracle.h"
#include "support/Builders.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/TestDevice.h"

namespace keystrand::test {
namespace {

// What OpenSSL reads and this library does not, by design.
const std::map<std::string, const char*> kUnread = {
    {"UIDCACert.crt", "unique identifiers under primitive tags"},
    {"ValidNameUIDsTest6EE.crt", "unique identifiers under primitive tags"},
    {"e-trust.ru.der", "a key of GOST R 34.10"},
    {"ed25519-rfc8410.pem", "a key of Ed25519"},
    {"root-ed25519.pem", "a key of Ed25519"},
    {"server-ed25519-cert.pem", "a key of Ed25519"},
    {"root-ed448.pem", "a key of Ed448"},
    {"server-ed448-cert.pem", "a key of Ed448"},
    {"rsa_oaep.pem", "a key for RSAES-OAEP only"},
    {"unsupported_subject_public_key_info.pem", "a key of an unassigned identifier"},
};

std::vector<ExtensionFacts> extensionsOf(const Certificate& certificate) {
  std::vector<ExtensionFacts> all;
  const ExtensionList* list = certificate.extensionsView();
  for (int i = 0; list != nullptr && i < list->count(); ++i) {
    const auto value = list->view(i)->valueView();
    all.push_back({taken(list->id(i)), list->view(i)->isCritical(), ByteString(value.begin(), value.end())});
  }
  return all;
}

void expectSameFacts(const Certificate& certificate, const CertificateFacts& facts) {
  EXPECT_EQ(certificate.version(), static_cast<std::uint32_t>(facts.version));
  EXPECT_EQ(taken(certificate.serialNumberText(16)), facts.serial);
  EXPECT_EQ(encode(*certificate.issuerView()), facts.issuer);
  EXPECT_EQ(encode(*certificate.subjectView()), facts.subject);
  const Validity& validity = *certificate.infoView()->validityView();
  if (facts.notBefore != -1) {
    EXPECT_EQ(validity.notBeforeView()->seconds(), facts.notBefore);
  }
  if (facts.notAfter != -1) {
    EXPECT_EQ(validity.notAfterView()->seconds(), facts.notAfter);
  }
  const std::unique_ptr<AlgorithmIdentifier> algorithm(certificate.signatureAlgorithm());
  EXPECT_EQ(taken(algorithm->oidText()), facts.signatureAlgorithm);
  const KeyInfo& key = *certificate.subjectPublicKeyInfoView();
  EXPECT_EQ(taken(key.algorithmText()), facts.keyAlgorithm);
  if (facts.keyBits != 0) {
    EXPECT_EQ(key.keyBitLength(), static_cast<std::uint32_t>(facts.keyBits));
  }
  EXPECT_EQ(extensionsOf(certificate), facts.extensions);
}

TEST(Certificate, ReadsWhatOpenSSLReadsAndWritesItBack) {
  TestDevice device;
  int compared = 0;
  for (const CertificateFile& file : certificateFiles()) {
    SCOPED_TRACE(file.name);
    const auto facts = factsOf(file.der);
    Certificate certificate;
    const bool read = device.read(certificate, file.der);
    if (read) encode(certificate);
    if (!facts) continue;
    EXPECT_NE(read, kUnread.contains(std::filesystem::path(file.name).filename()));
    if (!read) continue;
    expectSameFacts(certificate, *facts);
    EXPECT_EQ(encode(certificate), file.der);
    ++compared;
  }
  EXPECT_GE(compared, 400) << "PKITS alone has that many";
}

// Every certificate is cut at each place. The block still holds the rest of the whole behind the data.
TEST(Certificate, DoesNotReadBeyondTheData) {
  const ByteString whole = makeCertificate(makeAuthority());
  Buffer buffer;
  for (std::uint32_t n = 0; n < whole.size(); ++n) {
    buffer.assign(whole.data(), static_cast<std::uint32_t>(whole.size()));
    buffer.assign(whole.data(), n);
    Certificate certificate;
    EXPECT_FALSE(certificate.get(buffer)) << n;
  }
}

// A body with one of its parts replaced, or taken out when the new one is empty.
ByteString bodyWith(const ByteString& body, std::size_t part, const ByteString& replacement) {
  auto parts = children(body);
  parts.at(part) = replacement;
  return withChildren(0x30, parts);
}

TEST(CertificateInfo, ReadsTheOddFormsOfABody) {
  const ByteString v3 = children(makeCertificate(makeAuthority())).at(0);
  const std::size_t last = children(v3).size() - 1;
  const ByteString extensions = children(v3).at(last);
  struct Row {
    const char* name;
    ByteString body;
    bool ok;
    std::uint32_t version;
    bool same;  // goes out as it came in
  };
  for (const Row& row : {
           Row{"v3", bodyWith(v3, last, extensions), true, 2, true},
           Row{"v1, whose extensions are not read", bodyWith(v3, 0, {}), true, 0, false},
           Row{"v1", bodyWith(bodyWith(v3, last, {}), 0, {}), true, 0, true},
           Row{"v1 written out, which stays so", bodyWith(bodyWith(v3, last, {}), 0, fromHex("A003020100")), true, 0,
               true},
           Row{"a version that no one knows", bodyWith(v3, 0, fromHex("A003020107")), true, 7, true},
           Row{"a version of five octets", bodyWith(v3, 0, fromHex("A00702050100000000")), false, 0, false},
           Row{"a serial number with a surplus octet", bodyWith(v3, 1, fromHex("02020001")), false, 2, false},
           Row{"a negative serial number", bodyWith(v3, 1, fromHex("0201FF")), true, 2, true},
           Row{"unique identifiers, constructed", bodyWith(v3, last, fromHex("A10300AABB A2020001") + extensions), true,
               2, true},
           Row{"a unique identifier of no bits", bodyWith(v3, last, fromHex("A10100") + extensions), true, 2, true},
           Row{"a unique identifier of no octets", bodyWith(v3, last, fromHex("A100") + extensions), false, 2, false},
           Row{"a time in place of a name", bodyWith(v3, 3, fromHex("170D3230303130313030303030305A")), false, 2,
               false},
           Row{"extensions longer than the data", bodyWith(v3, last, fromHex("A384FFFFFFFF 3084FFFFFFFA")), false, 2,
               false},
           Row{"no extensions", bodyWith(v3, last, {}), true, 2, true},
           Row{"dates that are NULL", bodyWith(v3, 4, fromHex("300405000500")), false, 2, false},
       }) {
    SCOPED_TRACE(row.name);
    CertificateInfo info;
    EXPECT_EQ(decode(info, row.body), row.ok);
    if (!row.ok) continue;
    EXPECT_EQ(info.version(), row.version);
    EXPECT_EQ(encode(info) == row.body, row.same);
    const std::unique_ptr<CertificateInfo> copy(info.clone());
    EXPECT_EQ(encode(*copy), encode(info));
  }
}

// The primitive tags of unique identifiers end the body for this library, and the certificate is unreadable for it.
TEST(Certificate, RefusesWhatFollowsTheKnownBody) {
  const auto parts = children(makeCertificate(makeAuthority()));
  const ByteString& v3 = parts[0];
  const std::size_t last = children(v3).size() - 1;
  const ByteString withUniqueID = bodyWith(v3, last, fromHex("810300AABB") + children(v3)[last]);
  const ByteString v1WithExtensions = bodyWith(v3, 0, {});
  for (const ByteString& body : {withUniqueID, v1WithExtensions}) {
    CertificateInfo info;
    EXPECT_TRUE(decode(info, body));
    EXPECT_EQ(info.extensionsView(), nullptr);
    Certificate certificate;
    EXPECT_FALSE(decode(certificate, element(0x30, body + parts[1] + parts[2])));
  }
}

// The name says "no key"; what it tells is whether the key arrived in canonical form, which an EC key never says.
TEST(Certificate, HasNoKey) {
  EXPECT_TRUE(Certificate().hasNoKey());
  for (const auto& [kind, expected] : {std::pair{"RSA-1024", true}, {"P-256", false}}) {
    Certificate certificate;
    ASSERT_TRUE(decode(certificate, makeCertificate(makeAuthority(), {.key = privateKey(kind)})));
    EXPECT_EQ(certificate.hasNoKey(), expected) << kind;
  }
}

TEST(Certificate, ReportsItselfInItalian) {
  setenv("TZ", "UTC", 1);
  tzset();
  const Authority ca = makeAuthority({.key = privateKey("RSA-1024")});
  Certificate certificate;
  ASSERT_TRUE(decode(certificate, makeCertificate(ca, {.serial = "0A11", .subject = {{"CN", "Somebody"}}})));
  const Validity* validity = certificate.infoView()->validityView();
  EXPECT_EQ(taken(certificate.toPrintable()),
            "Versione: 3\n\n"
            "N.ro seriale: 0A11\n\n"
            "Rilasciato a: \n    2.5.4.3: Somebody\n\n"
            "Emesso da: \n    2.5.4.6: IT\n    2.5.4.10: Keystrand\n    2.5.4.3: Test CA\n\n"
            "Emesso il " +
                taken(validity->notBeforeView()->dateTimeLocal()) +
                "\n\n"
                "Scade il " +
                taken(validity->notAfterView()->dateTimeLocal()) +
                "\n\n"
                "Chiave valida per l'algoritmo di firma: \n    1.2.840.113549.1.1.11\n"
                "Lunghezza della chiave: 256 bits\n\n"
                "Algoritmo di firma utilizzato: \n    1.2.840.113549.1.1.11\n");
  CertificateInfo odd;
  odd.setVersion(9);
  EXPECT_TRUE(taken(odd.toPrintable()).starts_with("Versione: sconosciuta\n\n"));
  EXPECT_FALSE(taken(Certificate().toPrintable()).empty());
}

// Everything set by hand comes out as a certificate that OpenSSL reads with the same contents.
TEST(Certificate, IsMadeOfParts) {
  const Authority ca = makeAuthority();
  Certificate model;
  ASSERT_TRUE(decode(model, makeCertificate(ca)));
  Certificate made;
  made.setVersion(2);
  made.setSerialNumber(model.serialNumber());
  made.setSignatureAlgorithm("1.2.840.10045.4.3.2");
  const std::unique_ptr<AlgorithmIdentifier> algorithm(model.signatureAlgorithm());
  made.setSignatureAlgorithm(algorithm.get());
  made.setOuterAlgorithm(algorithm.get());
  made.setIssuer(model.issuerView());
  made.setSubject(model.subjectView());
  made.setValidity(model.infoView()->validityView());
  made.setSubjectPublicKeyInfo(model.subjectPublicKeyInfoView());
  made.setExtensions(model.extensionsView());
  const std::unique_ptr<Signature> signature(model.signature());
  made.setSignature(signature.get());
  EXPECT_EQ(encode(made), encode(model));
  const unsigned char serial[] = {0x80, 0x01};
  made.setSerialNumberFromBytes(serial, sizeof serial);
  const auto facts = factsOf(encode(made));
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->serial, "8001");
}

}  // namespace
}  // namespace keystrand::test

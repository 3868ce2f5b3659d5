#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>

#include "keystrand/pkix/Certificate.h"
#include "pkix/OpenSSLOracle.h"
#include "support/Builders.h"
#include "support/Coding.h"
#include "support/Der.h"
#include "support/TempFolder.h"
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

constexpr std::array kEndings = {".cer", ".crt", ".der", ".pem"};

// The first element of DER, or the first armour of a certificate; empty for anything else.
ByteString certificateIn(const ByteString& content) {
  if (!content.empty() && content.front() == 0x30) return firstElement(content).whole;
  const std::string text(content.begin(), content.end());
  const std::size_t begin = text.find("-----BEGIN CERTIFICATE-----");
  return begin == std::string::npos ? ByteString() : fromPEM(text.substr(begin));
}

void expectSame(const Certificate& certificate, X509* theirs) {
  EXPECT_EQ(certificate.version(), static_cast<std::uint32_t>(X509_get_version(theirs)));
  EXPECT_EQ(taken(certificate.serialNumberText(16)), hexadecimal(X509_get0_serialNumber(theirs)));
  EXPECT_EQ(encode(*certificate.issuerView()), builder::encoded(X509_get_issuer_name(theirs), i2d_X509_NAME));
  EXPECT_EQ(encode(*certificate.subjectView()), builder::encoded(X509_get_subject_name(theirs), i2d_X509_NAME));
  const Validity& validity = *certificate.infoView()->validityView();
  for (const auto& [ours, time] : {std::pair{validity.notBeforeView(), X509_get0_notBefore(theirs)},
                                   {validity.notAfterView(), X509_get0_notAfter(theirs)}})
    EXPECT_TRUE(secondsOf(time) == -1 || ours->seconds() == secondsOf(time));
  const ASN1_OBJECT* algorithm = nullptr;
  X509_ALGOR_get0(&algorithm, nullptr, nullptr, X509_get0_tbs_sigalg(theirs));
  const std::unique_ptr<AlgorithmIdentifier> ownAlgorithm(certificate.signatureAlgorithm());
  EXPECT_EQ(taken(ownAlgorithm->oidText()), dotted(algorithm));
  const KeyInfo& key = *certificate.subjectPublicKeyInfoView();
  ASN1_OBJECT* keyAlgorithm = nullptr;
  X509_PUBKEY_get0_param(&keyAlgorithm, nullptr, nullptr, nullptr, X509_get_X509_PUBKEY(theirs));
  EXPECT_EQ(taken(key.algorithmText()), dotted(keyAlgorithm));
  if (const EVP_PKEY* theirKey = X509_get0_pubkey(theirs)) {
    EXPECT_EQ(key.keyBitLength(), static_cast<std::uint32_t>(EVP_PKEY_get_bits(theirKey)));
  }
  const ExtensionList* list = certificate.extensionsView();
  ASSERT_EQ(list != nullptr ? list->count() : 0, X509_get_ext_count(theirs));
  for (int i = 0; list != nullptr && i < list->count(); ++i) {
    X509_EXTENSION* extension = X509_get_ext(theirs, i);
    EXPECT_EQ(taken(list->id(i)), dotted(X509_EXTENSION_get_object(extension)));
    EXPECT_EQ(list->view(i)->isCritical(), X509_EXTENSION_get_critical(extension) == 1);
    EXPECT_TRUE(std::ranges::equal(list->view(i)->valueView(), octetsOf(X509_EXTENSION_get_data(extension))));
  }
}

// PKITS and the other certificates of the vectors' package; those of the test data too, where it is present.
TEST(Certificate, ReadsWhatOpenSSLReadsAndWritesItBack) {
  TestDevice device;
  int compared = 0;
  for (const auto& folder : {publishedVectors() / "x509", testData("cert").value_or("/nowhere")}) {
    if (!std::filesystem::exists(folder)) continue;
    for (const auto& file : std::filesystem::recursive_directory_iterator(folder)) {
      if (std::ranges::find(kEndings, file.path().extension()) == kEndings.end()) continue;
      const ByteString der = certificateIn(readFile(file.path()));
      if (der.empty()) continue;
      SCOPED_TRACE(file.path());
      Certificate certificate;
      const bool read = device.read(certificate, der);
      const ByteString again = encode(certificate);
      const auto theirs = builder::readCertificate(der);
      if (!theirs || i2d_X509(theirs.get(), nullptr) != static_cast<int>(der.size())) continue;
      EXPECT_NE(read, kUnread.contains(file.path().filename()));
      if (!read) continue;
      expectSame(certificate, theirs.get());
      EXPECT_EQ(again, der);
      ++compared;
    }
  }
  EXPECT_GE(compared, 400) << "PKITS alone has that many";
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
           Row{"v3", edited(v3, {last}, extensions), true, 2, true},
           Row{"v1, whose extensions are not read", edited(v3, {0}, {}), true, 0, false},
           Row{"v1", edited(edited(v3, {last}, {}), {0}, {}), true, 0, true},
           Row{"v1 written out, which stays so", edited(edited(v3, {last}, {}), {0}, fromHex("A003020100")), true, 0,
               true},
           Row{"a version that no one knows", edited(v3, {0}, fromHex("A003020107")), true, 7, true},
           Row{"a version of five octets", edited(v3, {0}, fromHex("A00702050100000000")), false, 0, false},
           Row{"a serial number with a surplus octet", edited(v3, {1}, fromHex("02020001")), false, 2, false},
           Row{"a negative serial number", edited(v3, {1}, fromHex("0201FF")), true, 2, true},
           Row{"unique identifiers, constructed", edited(v3, {last}, fromHex("A10300AABB A2020001") + extensions), true,
               2, true},
           Row{"a unique identifier of no bits", edited(v3, {last}, fromHex("A10100") + extensions), true, 2, true},
           Row{"a unique identifier of no octets", edited(v3, {last}, fromHex("A100") + extensions), false, 2, false},
           Row{"a time in place of a name", edited(v3, {3}, fromHex("170D3230303130313030303030305A")), false, 2,
               false},
           Row{"extensions longer than the data", edited(v3, {last}, fromHex("A384FFFFFFFF 3084FFFFFFFA")), false, 2,
               false},
           Row{"no extensions", edited(v3, {last}, {}), true, 2, true},
           Row{"dates that are NULL", edited(v3, {4}, fromHex("300405000500")), false, 2, false},
       }) {
    SCOPED_TRACE(row.name);
    CertificateInfo info;
    EXPECT_EQ(decode(info, row.body), row.ok);
    if (!row.ok) continue;
    EXPECT_EQ(info.version(), row.version);
    EXPECT_EQ(encode(info) == row.body, row.same);
  }
}

// The primitive tags of unique identifiers end the body for this library, and the certificate is unreadable for it.
TEST(Certificate, RefusesWhatFollowsTheKnownBody) {
  const auto parts = children(makeCertificate(makeAuthority()));
  const ByteString& v3 = parts[0];
  const std::size_t last = children(v3).size() - 1;
  const ByteString withUniqueID = edited(v3, {last}, fromHex("810300AABB") + children(v3)[last]);
  const ByteString v1WithExtensions = edited(v3, {0}, {});
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

TEST(Certificate, IsMadeOfParts) {
  Certificate model, made;
  ASSERT_TRUE(decode(model, makeCertificate(makeAuthority())));
  const std::unique_ptr<AlgorithmIdentifier> algorithm(model.signatureAlgorithm());
  const std::unique_ptr<Signature> signature(model.signature());
  made.setVersion(2);
  made.setSerialNumber(model.serialNumber());
  made.setSignatureAlgorithm(algorithm.get());
  made.setOuterAlgorithm(algorithm.get());
  made.setIssuer(model.issuerView());
  made.setSubject(model.subjectView());
  made.setValidity(model.infoView()->validityView());
  made.setSubjectPublicKeyInfo(model.subjectPublicKeyInfoView());
  made.setExtensions(model.extensionsView());
  made.setSignature(signature.get());
  EXPECT_EQ(encode(made), encode(model));
  const unsigned char serial[] = {0x80, 0x01};
  made.setSerialNumberFromBytes(serial, sizeof serial);
  EXPECT_EQ(taken(made.serialNumberText(16)), "8001") << "a positive one";
}

TEST(Certificate, IsSavedAndLoadedInArmour) {
  TestDevice device;
  SecureBuffer buffer(&device.get());
  const ByteString der = makeCertificate(makeAuthority());
  Certificate certificate, loaded;
  ASSERT_TRUE(decode(certificate, der));
  const TempFolder folder;
  const auto path = folder / "certificate.pem";
  const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "w+"), std::fclose);
  EXPECT_TRUE(certificate.savePEM(fileno(file.get()), buffer));
  const ByteString text = readFile(path);
  EXPECT_EQ(fromPEM({text.begin(), text.end()}), der);
  std::rewind(file.get());
  EXPECT_TRUE(loaded.loadPEM(fileno(file.get()), buffer));
  EXPECT_EQ(encode(loaded), der);
  EXPECT_NE(loaded.digestView(), nullptr);
  EXPECT_FALSE(certificate.savePEM(-1, buffer));
}

}  // namespace
}  // namespace keystrand::test

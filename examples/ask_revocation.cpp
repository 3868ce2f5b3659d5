// Asks of certificates whether they are revoked, and prints an answer that a person can read.
//
//   ask_revocation --data DIR [--log FILE] [--mode 1..4] [--load] [--save] --ca FILE... QUESTION...
//
// A question is one of
//   --certificate FILE            the distribution points are those of the certificate
//   --certificate FILE --at URL   its CRL is at this URL
//   --serial HEX --issuer FILE --at URL
//
// Written with the public headers alone, as a client of the library would.
#include <keystrand/der/Name.h>
#include <keystrand/pkix/CertificateList.h>
#include <keystrand/pkix/DistributionPoint.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "Tools.h"

namespace {

using namespace keystrand;
using namespace examples;

using Context = std::unique_ptr<void, Releaser<&cache_releaseContext>>;
using CRLPtr = std::unique_ptr<CertificateList, Releaser<&cache_releaseCertificateList>>;

struct Question {
  std::string certificate;
  std::string serial;
  std::string issuer;
  std::string url;
};

struct Options {
  std::string data = ".";
  std::string log;
  int mode = 2;
  bool load = false;
  bool save = false;
  std::vector<std::string> cas;
  std::vector<Question> questions;
};

// The places where the issuer says that the certificate's CRL is (RFC 5280 section 4.2.1.13).
DistributionPointList distributionPoints(const Certificate& certificate) {
  DistributionPointList points;
  const ExtensionList* extensions = certificate.extensionsView();
  const Extension* extension = extensions != nullptr ? extensions->find(OID("2.5.29.31")) : nullptr;
  if (extension == nullptr) return points;
  Buffer value;
  value.assign(extension->valueView().data(), extension->length());
  points.get(value);
  return points;
}

std::unique_ptr<DistributionPointName> distributionPointAt(const std::string& url) {
  GeneralName name;
  name.setURI(url.c_str());
  GeneralNameList names;
  names.add(name);
  auto point = std::make_unique<DistributionPointName>();
  point->setFullName(&names);
  return point;
}

std::string addresses(const DistributionPointName& point) {
  std::string text;
  const GeneralNameList* names = point.fullNameView();
  for (int i = 0; names != nullptr && i < names->count(); ++i) {
    if (names->view(i)->textView()) text += (text.empty() ? "" : ", ") + *names->view(i)->textView();
  }
  return text.empty() ? "(no address)" : text;
}

std::string noAnswerText(unsigned long code) {
  switch (code) {
    case 5136:
      return "the CA's key is not enabled for signing CRLs";
    case 5137:
      return "the CRL could not be downloaded, or no known CA signed it";
    case 5138:
      return "the signature on the CRL is not verified";
    case 5199:
      return "the distribution point has an unknown form";
    case 5234:
      return "the distribution point names no address";
    default:
      return "internal error " + std::to_string(code);
  }
}

void printCRL(void* context, DistributionPointName& point, int row) {
  Certificate* issuer = nullptr;
  const CRLPtr crl(cache_getCRL(context, &point, row, 1, &issuer));
  const CertificatePtr signer(issuer);
  if (!crl) return;
  const RevokedCertificateList* revoked = crl->revokedCertificates();
  const int count = revoked != nullptr ? revoked->count() : 0;
  std::cout << "    CRL dates   issued " << dateText(crl->thisUpdateView()) << ", next "
            << dateText(crl->nextUpdateView()) << ", " << count << (count == 1 ? " entry\n" : " entries\n");
  if (signer) std::cout << "    signed by   " << signer->subjectView()->text() << "\n";
}

// Whether the question was answered.
bool ask(void* context, DistributionPointName& point, int row, const std::string& serial) {
  std::cout << "    CRL         " << addresses(point) << std::endl;
  cache_resetReport(context);
  cache_clearCRLCacheModified();
  std::string text = serial;
  const bool revoked = cache_searchCRL(context, &point, row, text.data()) == 1;
  const unsigned long code = cache_getErrCode(context);
  if (!revoked && code != static_cast<unsigned long>(-1)) {
    std::cout << "    answer      none: " << noAnswerText(code) << "\n";
    return false;
  }
  std::cout << "    came from   " << (cache_isCRLCacheModified() ? "the network, verified just now" : "the cache")
            << "\n";
  printCRL(context, point, row);
  if (!revoked) {
    std::cout << "    answer      NOT REVOKED\n";
    return true;
  }
  const TimePtr since(cache_getRevocationDate(context));
  const TimePtr invalid(cache_getInvalidSince(context));
  std::cout << "    answer      REVOKED since " << dateText(since.get()) << ": " << reasonText(cache_getReason(context))
            << (invalid ? ", invalid since " + dateText(invalid.get()) : "") << "\n";
  return true;
}

bool askCertificate(void* context, const Question& question) {
  Certificate certificate;
  if (!readCertificate(question.certificate, certificate)) {
    std::cout << "\n  " << question.certificate << "\n    answer      none: this is no certificate\n";
    return false;
  }
  std::unique_ptr<Name> issuer(certificate.issuer());
  const std::unique_ptr<char[]> serial(certificate.serialNumberText(16));
  std::cout << "\n  " << certificate.subjectView()->text() << "\n    serial      " << serial.get()
            << "\n    issued by   " << issuer->text();
  const int row = cache_getCACerts(context, issuer.get());
  const int index = row >= 0 ? cache_getCAIndex(context, &certificate, row, nullptr) : -1;
  std::cout << (row < 0     ? "  (not among the CAs)"
                : index < 0 ? "  (by no key that we know)"
                            : "  (signature verified)")
            << "\n";
  if (!question.url.empty()) return ask(context, *distributionPointAt(question.url), row, serial.get());
  const DistributionPointList points = distributionPoints(certificate);
  if (points.count() == 0) std::cout << "    answer      none: the certificate names no distribution point\n";
  for (int i = 0; i < points.count(); ++i) {
    const std::unique_ptr<DistributionPointName> point(points.view(i)->distributionPoint());
    if (point && ask(context, *point, row, serial.get())) return true;
  }
  return false;
}

bool askSerial(void* context, const Question& question) {
  Certificate issuer;
  if (!readCertificate(question.issuer, issuer)) return false;
  std::unique_ptr<Name> subject(issuer.subject());
  std::cout << "\n  serial " << question.serial << "\n    issued by   " << subject->text() << "\n";
  return ask(context, *distributionPointAt(question.url), cache_getCACerts(context, subject.get()), question.serial);
}

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--load" || flag == "--save") {
      (flag == "--load" ? options.load : options.save) = true;
      continue;
    }
    if (i + 1 == argc) return false;
    const std::string value = argv[++i];
    const bool asking = !options.questions.empty();
    if (flag == "--data")
      options.data = value;
    else if (flag == "--log")
      options.log = value;
    else if (flag == "--mode")
      options.mode = std::atoi(value.c_str());
    else if (flag == "--ca")
      options.cas.push_back(value);
    else if (flag == "--certificate")
      options.questions.push_back({.certificate = value, .serial = {}, .issuer = {}, .url = {}});
    else if (flag == "--serial")
      options.questions.push_back({.certificate = {}, .serial = value, .issuer = {}, .url = {}});
    else if (flag == "--issuer" && asking)
      options.questions.back().issuer = value;
    else if (flag == "--at" && asking)
      options.questions.back().url = value;
    else
      return false;
  }
  return !options.questions.empty();
}

void fillCAList(void* context, Options& options) {
  if (options.load) {
    cache_loadCACertList(context);
    cache_loadCRLCache(context);
  }
  int taken = 0;
  for (std::string& path : options.cas) taken += cache_addCACert(context, path.data());
  if (!options.cas.empty()) std::cout << "  " << taken << " of " << options.cas.size() << " CA certificates taken\n";
  std::cout << "  " << cache_getCACertsNum(context) << " CAs in the list, "
            << (cache_isCRLCacheLoaded() ? "CRLs in the cache" : "no CRL in the cache") << std::endl;
}

int run(Options& options) {
  cache_setLang(1);
  cache_enableLog(options.log.empty() ? 0 : 7);
  std::string ident = "ask_revocation";
  cache_init(options.data.data(), nullptr, ident.data(), options.log.empty() ? nullptr : options.log.data());
  cache_setDownloadCRL(static_cast<unsigned char>(options.mode));
  std::size_t answered = 0;
  {
    const Context context(cache_getContext());
    fillCAList(context.get(), options);
    for (const Question& question : options.questions) {
      answered +=
          question.serial.empty() ? askCertificate(context.get(), question) : askSerial(context.get(), question);
    }
    if (options.save) {
      const bool saved = cache_saveCACertList(context.get()) == 1 && cache_saveCRLCache(context.get()) == 1;
      std::cout << "\n  CA list and CRLs " << (saved ? "saved in " : "NOT saved in ") << options.data << "\n";
    }
  }
  cache_finalize();
  return answered == options.questions.size() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::cerr
        << "usage: ask_revocation --data DIR [--log FILE] [--mode 1..4] [--load] [--save] --ca FILE... QUESTION...\n"
           "  a question: --certificate FILE [--at URL]\n"
           "          or: --serial HEX --issuer FILE --at URL\n";
    return 2;
  }
  return run(options);
}

// Asks the responder that a certificate names whether it is revoked (OCSP), and prints an answer that a person can
// read.
//
//   ask_responder --issuer FILE [--log FILE] [--keep DIR | --kept DIR] CERTIFICATE...
//
// --keep   stores the verified response about each certificate in DIR
// --kept   asks nobody: the responses stored there answer
//
// Written with the public headers alone, as a client of the library would.
#include <keystrand/der/Name.h>
#include <keystrand/ocsp/OCSPResponse.h>
#include <keystrand/pkix/GeneralName.h>

#include <iostream>
#include <vector>

#include "Tools.h"

namespace {

using namespace keystrand;
using namespace examples;

using Context = std::unique_ptr<void, Releaser<&ocsp_releaseContext>>;
using ResponsePtr = std::unique_ptr<OCSPResponse, Releaser<&ocsp_releaseOCSPResponse>>;

constexpr const char* kAuthorityInfoAccess = "1.3.6.1.5.5.7.1.1";
constexpr const char* kOCSP = "1.3.6.1.5.5.7.48.1";
constexpr unsigned long kNoCode = static_cast<unsigned long>(-1);
constexpr unsigned long kExpired = 5219;

struct Options {
  std::string issuer;
  std::string log;
  std::string keep;
  std::string kept;
  std::vector<std::string> certificates;
};

// One AccessDescription; the address when it is that of a responder.
std::string responderIn(Buffer& in) {
  std::uint32_t n = 0;
  if (!in.getSequence(n)) return {};
  const std::uint64_t end = std::uint64_t{in.readPosition()} + n;
  OID method;
  GeneralName location;
  const bool isRead = in.getOID(method) && location.get(in);
  in.setReadPosition(end);
  const bool isResponder = isRead && method.equals(kOCSP) && location.tag() == GeneralName::kURI;
  return isResponder ? location.textView().value_or("") : "";
}

// Where the issuer says that its responder is (RFC 5280 section 4.2.2.1): the first of several.
std::string responderOf(const Certificate& certificate) {
  const ExtensionList* extensions = certificate.extensionsView();
  const Extension* extension = extensions != nullptr ? extensions->find(OID(kAuthorityInfoAccess)) : nullptr;
  if (extension == nullptr) return {};
  Buffer in;
  in.assign(extension->valueView().data(), extension->length());
  std::uint32_t n = 0;
  if (!in.getSequence(n)) return {};
  std::string address;
  while (address.empty() && in.readPosition() < in.size()) address = responderIn(in);
  return address;
}

std::string responseFile(const std::string& folder, const std::string& serial) {
  return folder + "/" + serial + ".ocsp";
}

bool keepResponse(void* context, std::string address, Certificate& issuer, const Certificate& certificate,
                  const std::string& path) {
  const ResponsePtr response(ocsp_getResponse(context, address.data(), &issuer, certificate.serialNumber()));
  Buffer der;
  if (response) response->put(der);
  return response && der.saveFile(path.c_str());
}

// From now on the context asks the response in this file, and nobody else.
bool useKeptResponse(void* context, const std::string& path) {
  Buffer der;
  OCSPResponse response;
  if (!der.loadFile(path.c_str()) || !response.get(der)) return false;
  ocsp_removeLocalResponses(context);
  ocsp_addOCSPResponse(context, &response);
  ocsp_setUseLocalResponses(context, 1);
  return true;
}

void printRevocation(void* context) {
  const TimePtr since(ocsp_getRevocationDate(context));
  const TimePtr invalid(ocsp_getInvalidSince(context));
  std::cout << "REVOKED since " << dateText(since.get()) << ": " << reasonText(ocsp_getReason(context))
            << (invalid ? ", invalid since " + dateText(invalid.get()) : "") << "\n";
}

// Whether the question was answered. Only an answer that was read to its end has a date: a response of a type that the
// library does not know sets neither a code nor a date, and says nothing of the certificate.
bool check(void* context, std::string address, Certificate& issuer, std::string serial) {
  ocsp_resetReport(context);
  const bool revoked = ocsp_check(context, address.data(), &issuer, serial.data()) == 1;
  const unsigned long code = ocsp_getErrCode(context);
  const TimePtr thisUpdate(ocsp_getThisUpdate(context));
  const TimePtr nextUpdate(ocsp_getNextUpdate(context));
  const bool answered = thisUpdate && (revoked || code == kNoCode || code == kExpired);
  if (answered) {
    std::cout << "    status of   " << dateText(thisUpdate.get()) << ", next " << dateText(nextUpdate.get())
              << (code == kExpired ? " (that is past)" : "") << "\n";
  }
  std::cout << "    answer      ";
  if (!answered) {
    std::cout << "none, the log tells why\n";
  } else if (revoked) {
    printRevocation(context);
  } else {
    std::cout << "GOOD\n";
  }
  return answered;
}

bool askResponder(void* context, const Options& options, Certificate& issuer, const Certificate& certificate,
                  const std::string& serial) {
  const std::string address = responderOf(certificate);
  std::cout << "    responder   " << (address.empty() ? "(the certificate names none)" : address) << std::endl;
  if (address.empty() || !check(context, address, issuer, serial)) return false;
  if (options.keep.empty()) return true;
  const std::string path = responseFile(options.keep, serial);
  const bool isKept = keepResponse(context, address, issuer, certificate, path);
  std::cout << "    response    " << (isKept ? "kept in " : "NOT kept in ") << path << "\n";
  return isKept;
}

bool askKeptResponse(void* context, const Options& options, Certificate& issuer, const std::string& serial) {
  const std::string path = responseFile(options.kept, serial);
  std::cout << "    response    " << path << std::endl;
  if (useKeptResponse(context, path)) return check(context, {}, issuer, serial);
  std::cout << "    answer      none: no response can be read there\n";
  return false;
}

bool ask(void* context, const Options& options, Certificate& issuer, const std::string& path) {
  Certificate certificate;
  if (!readCertificate(path, certificate)) {
    std::cout << "\n  " << path << "\n    answer      none: this is no certificate\n";
    return false;
  }
  const std::unique_ptr<char[]> serial(certificate.serialNumberText(16));
  std::cout << "\n  " << certificate.subjectView()->text() << "\n    serial      " << serial.get() << "\n";
  return options.kept.empty() ? askResponder(context, options, issuer, certificate, serial.get())
                              : askKeptResponse(context, options, issuer, serial.get());
}

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    std::string* value = word == "--issuer" ? &options.issuer
                         : word == "--log"  ? &options.log
                         : word == "--keep" ? &options.keep
                         : word == "--kept" ? &options.kept
                                            : nullptr;
    if (value != nullptr && ++i == argc) return false;
    if (value != nullptr)
      *value = argv[i];
    else
      options.certificates.push_back(word);
  }
  return !options.issuer.empty() && !options.certificates.empty() && (options.keep.empty() || options.kept.empty());
}

int run(Options& options) {
  Certificate issuer;
  if (!readCertificate(options.issuer, issuer)) {
    std::cerr << options.issuer << " holds no certificate\n";
    return 2;
  }
  cache_setLang(1);
  cache_enableLog(options.log.empty() ? 0 : 7);
  std::string ident = "ask_responder";
  cache_init(ident.data(), options.log.empty() ? nullptr : options.log.data());
  std::size_t answered = 0;
  {
    const Context context(ocsp_getContext());
    std::cout << "  issued by " << issuer.subjectView()->text() << "\n";
    for (const std::string& path : options.certificates) answered += ask(context.get(), options, issuer, path);
  }
  cache_finalize();
  return answered == options.certificates.size() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::cerr << "usage: ask_responder --issuer FILE [--log FILE] [--keep DIR | --kept DIR] CERTIFICATE...\n";
    return 2;
  }
  return run(options);
}

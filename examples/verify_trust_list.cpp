// Verifies the signature of a trusted list, and of the lists on the way to it.
//
//   verify_trust_list --signers FILE [--via LIST]... LIST
//
// --signers  certificates that may sign the first list: one in DER, or any number in PEM
// --via      a list of lists, verified before what comes behind it; it names the certificates that may sign the next
//
// The keys of the European list of lists change. Its signers were published once; since then each change stands in a
// pivot, an edition of the list that is signed by a former key and names the new ones. A client that knows the former
// goes from pivot to pivot, oldest first, up to the list of today and on to that of a country:
//
//   verify_trust_list --signers journal.pem --via pivot-282.xml --via pivot-300.xml --via eu-lotl.xml IT.xml
//
// Says in a line for each list who signed it, or why it is refused; ends with 0 when all are verified, else with 1.
// Whether a list is the latest is not for a signature to say: its number and date of next update are.
// Written with the public headers alone, as a client of the library would.
#include <fcntl.h>
#include <keystrand/crypto/CryptoKi.h>
#include <keystrand/der/Name.h>
#include <unistd.h>

#include <iostream>

#include "ListSignature.h"
#include "Tools.h"

namespace {

using namespace keystrand;
using namespace examples;

constexpr std::size_t kMaxLists = 10;  // on one way: who needs more is being led in circles
constexpr const char* kXMLForm = "application/vnd.etsi.tsl+xml";

struct Options {
  std::string signers;
  std::vector<std::string> lists;  // in the order of the way
};

DER octetsOf(const Buffer& buffer) {
  const std::span<const unsigned char> held = buffer.range(0, buffer.size());
  return {held.begin(), held.end()};
}

std::vector<DER> readCertificates(const std::string& path) {
  std::vector<DER> found;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  for (Buffer pem; pem.readPEMStream(file);) found.push_back(octetsOf(pem));
  if (file >= 0) close(file);
  Certificate single;
  Buffer der;
  if (found.empty() && der.loadFile(path.c_str()) && single.get(der)) found.push_back(octetsOf(der));
  return found;
}

std::string subjectOf(const DER& certificate) {
  Buffer der;
  der.assign(reinterpret_cast<const unsigned char*>(certificate.data()),
             static_cast<std::uint32_t>(certificate.size()));
  Certificate read;
  return read.get(der) && read.subjectView() != nullptr ? read.subjectView()->text() : "";
}

std::string territoryOf(XMLFile& list) {
  list.toRoot();
  return list.child("SchemeInformation") ? list.valueOf("SchemeTerritory").value_or("") : "";
}

// Every X509Certificate below the cursor.
std::vector<DER> certificatesBelow(XMLFile& list) {
  std::vector<DER> found;
  if (!list.findBelow("ServiceDigitalIdentity")) return found;
  do {
    list.pushBookmark();
    for (bool more = list.findBelow("X509Certificate"); more; more = list.findAfter("X509Certificate"))
      found.push_back(fromBase64(list.value().value_or(""), "a certificate that it names"));
    list.popBookmark();
  } while (list.findAfter("ServiceDigitalIdentity"));
  return found;
}

// The certificates that this list names as signers of the list of a territory (ETSI TS 119 612 clause 5.3.13).
std::vector<DER> namedSigners(XMLFile& list, const std::string& territory) {
  std::vector<DER> named;
  list.toRoot();
  if (!list.child("SchemeInformation") || !list.child("PointersToOtherTSL")) return named;
  for (bool more = list.child("OtherTSLPointer"); more; more = list.sibling("OtherTSLPointer")) {
    if (list.valueOf("SchemeTerritory") != territory || list.valueOf("MimeType") != kXMLForm) continue;
    list.pushBookmark();
    const std::vector<DER> signers = certificatesBelow(list);
    named.insert(named.end(), signers.begin(), signers.end());
    list.popBookmark();
  }
  return named;
}

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const bool isSigners = word == "--signers";
    const bool isList = word == "--via";
    if ((isSigners || isList) && ++i == argc) return false;
    if (isSigners)
      options.signers = argv[i];
    else if (isList || i + 1 == argc)
      options.lists.emplace_back(argv[i]);
    else
      return false;
  }
  return !options.signers.empty() && !options.lists.empty() && std::string_view(argv[argc - 2]) != "--via";
}

// Each list is read once: what is verified is what the next signers are taken from.
bool verifyAll(const Options& options, CryptoDevice& device) {
  std::vector<DER> allowed = readCertificates(options.signers);
  std::unique_ptr<XMLFile> former;
  for (const std::string& path : options.lists) {
    std::cout << path << ": " << std::flush;
    try {
      auto list = std::make_unique<XMLFile>();
      if (!list->load(path.c_str())) throw Refusal("it is no XML document");
      if (former) allowed = namedSigners(*former, territoryOf(*list));
      const DER signer = ListSignature(*list, device).verify(allowed);
      std::cout << "signed by " << subjectOf(signer) << std::endl;
      former = std::move(list);
    } catch (const Refusal& refusal) {
      std::cout << "refused, " << refusal.what() << std::endl;
      return false;
    }
  }
  return true;
}

int run(const Options& options) {
  if (options.lists.size() > kMaxLists) {
    std::cerr << "more than " << kMaxLists << " lists on the way\n";
    return 2;
  }
  CryptoKi token;
  CryptoDevice device(&token);
  if (!device.open(0, nullptr, 0)) {
    std::cerr << "there is no device for the cryptography\n";
    return 2;
  }
  return verifyAll(options, device) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::cerr << "usage: verify_trust_list --signers FILE [--via LIST]... LIST\n";
    return 2;
  }
  return run(options);
}

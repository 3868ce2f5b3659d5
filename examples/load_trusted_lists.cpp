// From the European list of trusted lists to the CAs that the states of Europe stand by, and what they say of one.
//
//   load_trusted_lists --data DIR [--log FILE] [--all] --eu URL [--certificate FILE]...
//   load_trusted_lists --data DIR [--log FILE] --load [--eu URL] [--certificate FILE]...
//
// --eu           where the European list is; the lists of all countries are fetched from where it says, added, saved
// --all          services of every type, not only those that issue certificates or time-stamps
// --load         the CAs come from the list saved before; with --eu each country is asked for a newer issue
// --certificate  which of the CAs has issued this certificate, and what does its list say of that CA?
//
// Written with the public headers alone, as a client of the library would.
#include <keystrand/cache/Records.h>
#include <keystrand/crypto/CryptoDevice.h>
#include <keystrand/crypto/CryptoKi.h>
#include <keystrand/der/Name.h>
#include <keystrand/der/SecureBuffer.h>

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <map>
#include <utility>
#include <vector>

#include "Tools.h"
#include "TrustedList.h"

namespace {

using namespace examples;

using Context = std::unique_ptr<void, Releaser<&cache_releaseContext>>;
using List = std::unique_ptr<XMLFile, Releaser<&cache_releaseXMLFile>>;
using Signers = std::unique_ptr<CertList, Releaser<&cache_releaseCertList>>;
using Text = std::unique_ptr<char, Releaser<&cache_releaseCharArray>>;

struct Options {
  std::string data;
  std::string log;
  std::string eu;
  bool load = false;
  bool all = false;
  std::vector<std::string> certificates;
};

// A line of the closing table.
struct CountryRow {
  std::string country;
  std::string issue;
  ServiceCounts counts;
};

std::vector<std::string> countriesOf(void* context) {
  std::vector<std::string> found;
  const List countries(cache_getCountries(context));
  for (bool more = countries && countries->firstChildElement(); more; more = countries->nextElement()) {
    const std::string country = countries->value().value_or("");
    if (std::ranges::find(found, country) == found.end()) found.push_back(country);
  }
  return found;
}

// Certificates in the list by the country whose trusted list named them.
std::map<std::string, int> certificatesByCountry(void* context) {
  std::map<std::string, int> counts;
  for (int row = 0; row < cache_getCACertsNum(context); ++row) {
    for (int index = 0; cache_getCACertSource(context, row, index) >= 0; ++index) {
      const Text country(cache_getCountryCode(context, row, index));
      if (country) ++counts[country.get()];
    }
  }
  return counts;
}

// --- from the list of lists to the CAs ------------------------------------------------------------------------------

// A client that relies on these CAs verifies the signature of the list here, with the certificates that may have made
// it, before it adds the list: the library takes its word.
bool addCountry(void* context, std::string country, bool all, std::vector<CountryRow>& table) {
  CertList* named = nullptr;
  const List list(cache_getCountryTSL(context, country.data(), &named));
  const Signers signers(named);
  std::cout << "  " << country << "  ";
  if (!list) {
    std::cout << "no list: it could not be fetched" << std::endl;
    return false;
  }
  if (cache_addCACertListCountryTSL(context, list.get(), all ? 1 : 0) == 0) {
    std::cout << "NOT taken: this is no trusted list, or a part of it is missing" << std::endl;
    return false;
  }
  table.push_back({country, sequenceNumberOf(*list), countServices(context, *list, all)});
  const auto& [code, issue, counts] = table.back();
  std::cout << "issue " << issue << ", signed by one of " << signers->count() << ": " << counts.services[kTaken]
            << " of " << counts.all() << " services taken" << std::endl;
  return true;
}

void printLine(const std::string& country, const std::string& issue, const ServiceCounts& counts, int certificates) {
  std::cout << "  " << std::left << std::setw(9) << country << std::right << std::setw(5) << issue << std::setw(10)
            << counts.all();
  for (const int count : counts.services) std::cout << std::setw(10) << count;
  std::cout << std::setw(10) << certificates << "\n";
}

void printTable(void* context, const std::vector<CountryRow>& table) {
  std::map<std::string, int> certificates = certificatesByCountry(context);
  std::cout << "\n                                     left out for their\n"
            << "  country  issue  services     taken      type    status       use   no cert.       CAs\n";
  ServiceCounts sum;
  int all = 0;
  for (const CountryRow& row : table) {
    const int ofCountry = certificates[row.country.substr(0, 2)];
    printLine(row.country, row.issue, row.counts, ofCountry);
    sum += row.counts;
    all += ofCountry;
  }
  printLine("all", "", sum, all);
}

bool fetchLists(void* context, const Options& options) {
  if (cache_loadEUTSL(context) == 0) {
    std::cout << "  " << options.eu << ": NO European list there\n";
    return false;
  }
  std::vector<CountryRow> table;
  int failed = 0;
  for (const std::string& country : countriesOf(context))
    failed += addCountry(context, country, options.all, table) ? 0 : 1;
  printTable(context, table);
  const bool isSaved = cache_saveCACertList(context) == 1;
  std::cout << "\n  " << (isSaved ? "saved in " : "NOT saved in ") << options.data << "; lists of " << table.size()
            << " countries, " << failed << " without\n";
  return isSaved;
}

// --- from the saved list --------------------------------------------------------------------------------------------

bool loadLists(void* context, const Options& options) {
  if (cache_loadCACertList(context) == 0 || cache_getCACertsNum(context) == 0) {
    std::cout << "  NO saved list in " << options.data << "\n";
    return false;
  }
  const bool canCompare = !options.eu.empty() && cache_loadEUTSL(context) == 1;
  std::map<std::string, int> certificates = certificatesByCountry(context);
  for (_ti* info = cache_getLoadedTSLInfos(context); info != nullptr;) {
    std::cout << "  " << info->countryCode << "  issue " << info->sequenceNumber << ", "
              << certificates[info->countryCode] << " CAs, from " << info->location;
    if (canCompare)
      std::cout << (cache_checkCountryCACertsUpdates(context, info->countryCode) == 1 ? ": A NEWER ISSUE IS PUBLISHED"
                                                                                      : ": up to date");
    std::cout << std::endl;
    std::free(info->countryCode);
    std::free(info->location);
    cache_release_tslInfo(std::exchange(info, info->next));
  }
  return true;
}

// --- what a list says of a CA ---------------------------------------------------------------------------------------

const char* orUnknown(const char* text) {
  return text != nullptr ? text : "not told";
}

// The current state of the service, then its former ones.
void printStates(void* context, const Certificate& ca) {
  Buffer der;
  ca.put(der);
  const std::unique_ptr<char[]> base64(der.toBase64());
  const char* label = "list says   ";
  for (_md* state = cache_getCertMetadata(context, base64.get()); state != nullptr;) {
    std::cout << "    " << label << shortened(orUnknown(state->serviceStatus), kStatuses) << " since "
              << orUnknown(state->statusStartingTime) << ": " << shortened(orUnknown(state->serviceType), kTypes)
              << ", \"" << orUnknown(state->serviceName) << "\"\n";
    label = "before      ";
    for (char* text : {state->serviceType, state->serviceName, state->serviceStatus, state->statusStartingTime})
      std::free(text);
    cache_release_tslMetadata(std::exchange(state, state->next));
  }
}

// Through a device, which digests what the issuer signed: a certificate read without one cannot be verified.
bool readSigned(const std::string& path, Certificate& certificate) {
  CryptoKi cryptoKi;
  CryptoDevice device(&cryptoKi);
  if (!device.open(0, nullptr, 0)) return false;
  SecureBuffer der(&device);
  if (der.loadFile(path.c_str()) && certificate.get(der)) return true;
  SecureBuffer pem(&device);
  return pem.loadPEM(path.c_str()) && certificate.get(pem);
}

bool findIssuer(void* context, const std::string& path) {
  Certificate certificate;
  if (!readSigned(path, certificate)) {
    std::cout << "\n  " << path << "\n    this is no certificate\n";
    return false;
  }
  const std::unique_ptr<Name> issuer(certificate.issuer());
  std::cout << "\n  " << certificate.subjectView()->text() << "\n";
  const int row = cache_getCACerts(context, issuer.get());
  const int index = row >= 0 ? cache_getCAIndex(context, &certificate, row, nullptr) : -1;
  if (index < 0) {
    std::cout << "    issued by   " << issuer->text() << ", which no list names with this key\n";
    return false;
  }
  const CertificatePtr ca(cache_getCACert(context, row, index));
  const Text country(cache_getCountryCode(context, row, index));
  std::cout << "    issued by   " << ca->subjectView()->text() << "\n    list of     " << orUnknown(country.get())
            << ", qualified: " << (cache_getQualified(context, row, index) == 1 ? "yes" : "no") << "\n";
  printStates(context, *ca);
  return true;
}

// --- the program ----------------------------------------------------------------------------------------------------

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--load" || flag == "--all") {
      (flag == "--load" ? options.load : options.all) = true;
      continue;
    }
    if (++i == argc) return false;
    if (flag == "--data")
      options.data = argv[i];
    else if (flag == "--log")
      options.log = argv[i];
    else if (flag == "--eu")
      options.eu = argv[i];
    else if (flag == "--certificate")
      options.certificates.emplace_back(argv[i]);
    else
      return false;
  }
  return !options.data.empty() && (options.load || !options.eu.empty());
}

bool run(Options& options) {
  std::string ident = "load_trusted_lists";
  cache_setLang(1);
  cache_enableLog(options.log.empty() ? 0 : 7);
  cache_init(options.data.data(), nullptr, ident.data(), options.log.empty() ? nullptr : options.log.data());
  if (!options.eu.empty()) cache_setEUTSLLocation(options.eu.data());
  bool isDone = false;
  {
    const Context context(cache_getContext());
    isDone = options.load ? loadLists(context.get(), options) : fetchLists(context.get(), options);
    for (const std::string& path : options.certificates) isDone = isDone && findIssuer(context.get(), path);
  }
  cache_finalize();
  return isDone;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::cerr << "usage: load_trusted_lists --data DIR [--log FILE] [--all] {--eu URL | --load [--eu URL]} "
                 "[--certificate FILE]...\n";
    return 2;
  }
  return run(options) ? 0 : 1;
}

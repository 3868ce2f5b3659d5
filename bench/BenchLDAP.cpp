// A CRL of 5 MB from a directory on the same machine: ours, with decoding, the check of its signature and the search,
// beside ldapsearch, which writes it to nowhere.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "BenchContext.h"
#include "LargeCRL.h"
#include "cache/Library.h"
#include "keystrand/keystrand.h"
#include "support/Builders.h"
#include "support/SlapdServer.h"

namespace keystrand::bench {

namespace {

constexpr int kEntries = 130'000;
constexpr std::size_t kLeastBytes = 5'000'000;

void require(bool condition) {
  if (!condition) std::abort();
}

// The directory with the CRL of one CA.
class Scene {
 public:
  [[nodiscard]] std::string url() const { return directory_.url("cn=CA,c=IT?certificateRevocationList;binary"); }
  [[nodiscard]] std::string command() const {
    return test::findProgram("ldapsearch") + " -x -LLL -H ldap://127.0.0.1:" + std::to_string(directory_.port()) +
           " -b cn=CA,c=IT -s base 'certificateRevocationList;binary' >/dev/null";
  }
  [[nodiscard]] const ByteString& certificate() const { return ca_.certificate; }

 private:
  [[nodiscard]] ByteString crl() const {
    test::CRLSpec wanted;
    for (std::uint64_t i = 0; i < kEntries; ++i) wanted.entries.push_back({.serial = serialText(i)});
    ByteString made = test::makeCRL(ca_, wanted);
    require(made.size() >= kLeastBytes);
    return made;
  }
  test::Authority ca_ = test::makeAuthority({.key = test::privateKey("RSA-2048")});
  test::SlapdServer directory_{{{.rdn = "cn=CA", .crl = crl()}}};
};

// Null where there is no such server.
const Scene* scene() {
  static const auto made = test::SlapdServer::installed() ? std::make_unique<Scene>() : nullptr;
  return made.get();
}

std::unique_ptr<DistributionPointName> placeOf(const std::string& url) {
  GeneralName name;
  name.setURI(url.c_str());
  GeneralNameList names;
  names.add(name);
  auto place = std::make_unique<DistributionPointName>();
  place->setFullName(&names);
  return place;
}

void fetchOurs(benchmark::State& state) {
  if (scene() == nullptr) return state.SkipWithError(test::SlapdServer::kNotInstalled);
  constexpr unsigned char kOncePerSession = 1;
  cache_setDownloadCRL(kOncePerSession);
  context().clean();
  require(context().addCertificateDER(scene()->certificate()));
  const auto place = placeOf(scene()->url());
  const std::string serial = serialText(kEntries - 1);
  for (auto _ : state) {
    state.PauseTiming();
    library().crlTable.clear();
    state.ResumeTiming();
    require(context().searchCRL(place.get(), 0, serial.c_str()));
  }
  library().crlTable.clear();
  context().clean();
}

void fetchByLdapsearch(benchmark::State& state) {
  if (scene() == nullptr) return state.SkipWithError(test::SlapdServer::kNotInstalled);
  const std::string command = scene()->command();
  for (auto _ : state) require(std::system(command.c_str()) == 0);
}

BENCHMARK(fetchOurs)->Name("crl_ldap/ours")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(fetchByLdapsearch)->Name("crl_ldap/ldapsearch")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

}  // namespace keystrand::bench

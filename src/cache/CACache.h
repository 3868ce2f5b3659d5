// The context of the cache_ functions: a working handle on the library's shared tables, for one thread at a time.
//
// Members do the work of the exported functions, taking the locks of Library.h; those marked "caller holds" do not.
// The implementation is split by duty: CACacheList.cpp (changes of the CA list), CACacheFile.cpp (its file),
// CACacheLookup.cpp (its queries), CACacheIssuer.cpp (who issued an object), CACacheTSL.cpp, CACacheEUTSL.cpp (trusted
// lists), CACacheCRLFile.cpp, CACacheCRLFetch.cpp, CACacheCRLLDAP.cpp, CACacheCRLUpdate.cpp, CACacheCRLCheck.cpp,
// CACacheCRLSearch.cpp, CACacheLocalCRLs.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cache/CACertEntry.h"
#include "cache/CRLList.h"
#include "cache/CRLTable.h"
#include "cache/TSLInfo.h"
#include "keystrand/cache/Records.h"
#include "keystrand/der/SecureBuffer.h"
#include "keystrand/pkix/AttributeCertificate.h"
#include "keystrand/pkix/AuthorityKeyIdentifier.h"
#include "keystrand/pkix/Certificate.h"
#include "keystrand/pkix/CertificateList.h"
#include "keystrand/pkix/DistributionPoint.h"
#include "keystrand/support/Semaphore.h"
#include "log/Logger.h"
#include "log/Report.h"

namespace keystrand {

class File;
class PartialAttributeList;
class TSLPointers;
class TSLReader;
class XMLFile;
struct FoundCRL;
struct ParsedURL;

// A CRL as it came from the network.
struct DownloadedCRL {
  std::unique_ptr<CertificateList> crl;
  X500Time timestamp;  // the server's modification time
};

class CACache {
 public:
  // On the library's crypto objects; before cache_init they are null and every decode fails.
  CACache();

  Report& report() noexcept { return report_; }

  // --- changes of the CA list (CACacheList.cpp)
  bool addCertificateListPEM(const char* path);     // cache_addCACertListPEM
  bool initCertificateListPEM(const char* path);    // cache_initCACertListPEM
  bool importCertificateListPEM(const char* path);  // cache_importCACertsListPEM
  bool addCertificateFile(const char* path);
  bool addCertificate(const Certificate& certificate, std::int32_t source);
  bool addCertificateDER(std::span<const unsigned char> der);
  bool addCertificatePEM(const char* base64);
  bool removeEntryPEM(const char* base64);
  bool removeEntryDER(std::span<const unsigned char> der);
  bool removeEntry(const Certificate& certificate);
  bool removeEntry(const Name& subject, const Name& issuer, const BigInteger& serial);
  bool removeSource(std::int32_t source);
  bool removeCountry(const char* country);
  void clean();
  // The one insertion path; the caller holds caMutex.
  bool insert(std::unique_ptr<Certificate> certificate, std::int32_t source,
              std::shared_ptr<const TSLMetadata> metadata);

  // --- the CA list file (CACacheFile.cpp)
  bool saveCAList(const std::string& path);
  bool loadCAList(const std::string& path);

  // --- queries (CACacheLookup.cpp)
  [[nodiscard]] int rowOf(const Name& subject) const;  // -1 when there is none
  [[nodiscard]] int rowCount() const;
  [[nodiscard]] owner<Certificate*> certificateAt(int row, int index) const;
  [[nodiscard]] int certIndex(int row, const Name& issuer, const BigInteger& serial) const;
  [[nodiscard]] int issuerIndex(Certificate& object, int row, const AuthorityKeyIdentifier* aki);
  [[nodiscard]] int issuerIndex(AttributeCertificate& object, int row, const AuthorityKeyIdentifier* aki);
  [[nodiscard]] int issuerIndex(CertificateList& object, int row, const AuthorityKeyIdentifier* aki);
  [[nodiscard]] int sourceAt(int row, int index) const;
  [[nodiscard]] int sourceOfPEM(const char* base64);
  [[nodiscard]] int sourceOfDER(std::span<const unsigned char> der);
  [[nodiscard]] int sourceOf(const Name& subject, const Name& issuer, const BigInteger& serial) const;
  [[nodiscard]] bool trustedCA(std::span<const unsigned char> der);
  [[nodiscard]] owner<char*> countryCodeAt(int row, int index) const;
  [[nodiscard]] owner<char*> serviceStatusAt(int row, int index) const;
  [[nodiscard]] owner<char*> serviceTypeAt(int row, int index) const;
  [[nodiscard]] unsigned char qualifiedAt(int row, int index) const;
  [[nodiscard]] owner<TSLMetadata*> metadataOf(const char* base64);
  [[nodiscard]] owner<_md*> metadataRecordsOf(const char* base64);
  // A snapshot of a row's entries, empty out of range; taken under caMutex and usable without it.
  [[nodiscard]] std::vector<CACertEntryRef> entriesOf(int row) const;
  [[nodiscard]] std::string subjectTextOf(int row) const;  // the row's key, empty out of range
  // The same by the text form of a subject, case of ASCII letters ignored; `row` is -1 and nothing comes back where
  // there is none.
  [[nodiscard]] std::vector<CACertEntryRef> entriesOfSubject(std::string_view subjectText, int& row) const;
  // The certificate of these entries whose key issued the object, by identifier or by trial of signatures, or -1.
  [[nodiscard]] int issuerAmong(const std::vector<CACertEntryRef>& entries, const CertificateList& crl,
                                const AuthorityKeyIdentifier* aki);
  static bool matchAuthorityKey(const AuthorityKeyIdentifier& aki, const Certificate& candidate);

  // --- trusted lists (CACacheTSL.cpp). errCode is set by all but addTSLFile where the file cannot be loaded.
  bool addTSL(XMLFile& list, bool allServices);  // cache_addCACertListCountryTSL, cache_addCACertListTSL
  bool addTSLFile(const char* path);             // cache_addCACertListTSL
  bool initTSLFile(const char* path);            // cache_initCACertListTSL
  bool importTSLFile(const char* path);          // cache_importCACertsListTSL
  // Adds the certificates of the services of a list that are taken (TSLReader.h), in place of all rows of its country.
  // On failure the country is left half replaced. The caller holds caMutex.
  bool parseTSL(XMLFile& list, bool allServices);

  // --- the European list and the lists it points to (CACacheEUTSL.cpp)
  bool loadEUTSL();
  bool loadEUTSL(const char* path);
  [[nodiscard]] bool isEUTSLLoaded() const;
  [[nodiscard]] owner<XMLFile*> countries();
  owner<XMLFile*> countryTSL(const char* country, CertList** signingCerts);  // untouched on failure
  // Deletes the list where it is found among the pointers and the certificates cannot be told.
  owner<CertList*> countryTSLSigningCerts(owner<XMLFile*> list);
  bool hasCountryUpdates(const char* country);
  [[nodiscard]] bool isTSLLoaded(const char* country) const;
  [[nodiscard]] std::vector<TSLInfo> loadedTSLs() const;
  [[nodiscard]] std::optional<TSLInfo> loadedTSL(const char* country) const;

  // --- the CRL table and its file (CACacheCRLFile.cpp)
  bool saveCRLCache(const std::string& path);
  bool loadCRLCache(const std::string& path);
  void setUseLocalCRLs(unsigned char use) noexcept { useLocalCRLs_ = use; }
  void addLocalCRL(const CertificateList& crl);
  void removeLocalCRLs();

  // --- retrieval, check and search of CRLs, and the update of the whole table
  bool updateCRLCache();
  bool searchCRL(const DistributionPointName* dp, int caRow, const char* serial);
  owner<CertificateList*> getCRL(const DistributionPointName* dp, int caRow, bool cachedOnly, Certificate** caCert);
  // True when the CRL verifies against the CA list; row and index of its issuer are then set.
  bool checkCRL(const CertificateList& crl, int& caIndex, int& certIndex);

 private:
  // Decodes the bytes of workBuffer_ under the device's semaphore; empty when they are no certificate.
  std::unique_ptr<Certificate> decodeCertificate();
  // The same for bytes of a caller, through workBuffer_, and for the Base64 text of such bytes, without armour.
  std::unique_ptr<Certificate> decodeCertificate(std::span<const unsigned char> der);
  std::unique_ptr<Certificate> decodeCertificatePEM(const char* base64);
  // Reads the armoured certificates of an open file into the list; the caller holds caMutex.
  bool addCertificatesFrom(const File& file, std::int32_t source);
  bool addDecoded(std::unique_ptr<Certificate> certificate);
  bool removeDecoded(const std::unique_ptr<Certificate>& certificate);
  [[nodiscard]] int sourceOfDecoded(const std::unique_ptr<Certificate>& certificate);
  // Logs a catalogue row with its arguments, when this context has a logger.
  template <class... Arguments>
  void logMessage(unsigned char level, unsigned long code, Arguments... arguments);

  // Trusted lists (CACacheTSL.cpp). The caller holds caMutex.
  void recordTSL(const std::string& territory, std::int32_t sequenceNumber);
  bool addTSLCertificate(const std::string& base64, const std::shared_ptr<const TSLMetadata>& metadata);
  bool addTSLService(TSLReader& reader, bool allServices);
  // The pointer that was found (CACacheEUTSL.cpp). The caller holds euTSLMutex.
  std::unique_ptr<CertList> signingCertificates(TSLPointers& pointers);

  // Retrieval (CACacheCRLFetch.cpp). The caller holds the row.
  std::optional<DownloadedCRL> downloadCRL(const std::string& url, bool namedHTTPS, bool direct);
  std::optional<DownloadedCRL> downloadDirectly(const std::string& uri, const ParsedURL& parsed);
  std::optional<DownloadedCRL> download(const std::string& uri);
  bool refreshCRL(const std::string& uri, CRLRow& row);
  bool fillCRLRow(const std::string& uri, CRLRow& row);
  void followIssuingDistributionPoint(const DistributionPointName& name, CRLRow& row);
  std::optional<X500Time> requestCRLTimestamp(const std::string& uri);
  std::optional<X500Time> requestTimestampHTTPS(const std::string& uri);
  bool isOutdated(const std::string& uri, const CRLCacheEntry& entry);
  bool needsFetch(const std::string& uri, const CRLCacheEntry& entry, bool cachedOnly);
  [[nodiscard]] bool mayFetch() const;

  // Retrieval by LDAP (CACacheCRLLDAP.cpp). The caller holds the row.
  std::optional<DownloadedCRL> downloadCRLLDAP(const std::string& uri, const ParsedURL& parsed);
  std::optional<X500Time> requestTimestampLDAP(const ParsedURL& parsed);
  void takeCRL(const PartialAttributeList& list, const std::string& name, FoundCRL& found);
  std::unique_ptr<CertificateList> decodeCRL(std::span<const unsigned char> value);

  // Update (CACacheCRLUpdate.cpp). The caller holds crlMutex.
  void refreshCRLCache();
  bool fillCRLCache();
  bool cacheDistributionPoint(const DistributionPointName* name);
  static HeldRow rowForUpdate(const std::string& uri);

  // Check (CACacheCRLCheck.cpp).
  bool refuseCRL(const CertificateList& crl, std::int32_t code);
  bool isSignedBy(const CertificateList& crl, const Certificate& issuer);

  // Search (CACacheCRLSearch.cpp, CACacheLocalCRLs.cpp).
  enum class RowSearch { kFound, kNone, kNoNames, kTableFull };
  bool fail(std::int32_t code);
  HeldRow holdRow(const std::string& uri, bool& full, bool& added);
  bool isOfIssuer(const CRLCacheEntry& entry, int caRow) const;
  CRLSnapshot lookUp(const std::string& uri, int caRow, bool cachedOnly, bool& full);
  RowSearch findCRLRow(const DistributionPointName* dp, int caRow, bool cachedOnly, CRLSnapshot& best);
  CRLSnapshot findLocalCRL(const DistributionPointName* dp, int caRow);
  void reportCRL(const CRLCacheEntry& entry);
  bool searchSerial(const CertificateList& crl, std::string_view serial);
  void logRevocation();
  owner<Certificate*> issuerOf(const CRLCacheEntry& entry);

  std::unique_ptr<Logger> logger_;  // null when logging was off at the making of the context
  CryptoDevice* cryptoDevice_;      // the library's
  Semaphore* semaphore_;            // the library's, around every use of the device
  SecureBuffer workBuffer_;
  SecureBuffer crlBuffer_;
  Report report_;
  unsigned char useLocalCRLs_ = 0;
  std::unique_ptr<CRLList> localCRLs_;
  std::optional<std::string> tslLocation_;  // of the list fetched last, consumed by the next parse of a list
};

}  // namespace keystrand

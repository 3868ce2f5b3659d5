// Queries of the CA list. Rows and indexes out of range give the failure value of each query.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>

#include "cache/CACache.h"
#include "cache/ContextLog.h"
#include "cache/Library.h"
#include "log/MessageCodes.h"
#include "support/Memory.h"

namespace keystrand {
namespace {

// Service types of ETSI TS 119 612 section 5.5.1 whose certificates are qualified.
constexpr std::string_view kQualifiedTypes[] = {
    "http://uri.etsi.org/TrstSvc/Svctype/CA/QC",
    "http://uri.etsi.org/TrstSvc/Svctype/TSA/QTST",
};
constexpr unsigned char kNoMetadata = 255;

CACertEntryRef entryAt(int row, int index) {
  const std::lock_guard lock(library().caMutex);
  return library().caTable.entry(row, index);
}

// What identifies a certificate in the list, taken before the lock is.
struct Identity {
  std::string subject;
  const Name& issuer;
  const BigInteger& serial;
};

Identity identityOf(const Certificate& certificate) {
  return {certificate.subjectView()->text(), *certificate.issuerView(), certificate.infoView()->serialNumberView()};
}

struct Found {
  bool hasRow = false;
  CACertEntryRef entry;
};

Found find(const Identity& identity) {
  const std::lock_guard lock(library().caMutex);
  const CATable& table = library().caTable;
  const int row = table.find(identity.subject);
  return {row >= 0, table.entry(row, table.findEntry(row, identity.issuer, identity.serial))};
}

owner<char*> textOf(const CACertEntryRef& entry,
                    const std::optional<std::string>& (TSLMetadata::*field)() const noexcept) {
  const TSLMetadata* metadata = entry ? entry->metadata() : nullptr;
  if (metadata == nullptr) return nullptr;
  const std::optional<std::string>& text = (metadata->*field)();
  return text ? newText(*text) : nullptr;
}

char* copyForClient(const std::optional<std::string>& text) {
  return text ? strdup(text->c_str()) : nullptr;
}

// A chain of plain records, while it is being built.
struct RecordsDeleter {
  void operator()(_md* record) const noexcept {
    while (record != nullptr) {
      for (char* text : {record->serviceType, record->serviceName, record->serviceStatus, record->statusStartingTime}) {
        std::free(text);
      }
      delete std::exchange(record, record->next);
    }
  }
};

owner<_md*> newRecord(const TSLMetadata& metadata) {
  return new _md{.serviceType = copyForClient(metadata.serviceTypeView()),
                 .serviceName = copyForClient(metadata.serviceNameView()),
                 .serviceStatus = copyForClient(metadata.serviceStatusView()),
                 .statusStartingTime = copyForClient(metadata.statusStartingTimeView()),
                 .next = nullptr};
}

}  // namespace

int CACache::rowOf(const Name& subject) const {
  const std::string text = subject.text();
  const std::lock_guard lock(library().caMutex);
  return library().caTable.find(text);
}

int CACache::rowCount() const {
  const std::lock_guard lock(library().caMutex);
  return library().caTable.count();
}

std::string CACache::subjectTextOf(int row) const {
  const std::lock_guard lock(library().caMutex);
  const CARow* found = library().caTable.row(row);
  return found != nullptr ? found->subjectText.value_or("") : "";
}

std::vector<CACertEntryRef> CACache::entriesOf(int row) const {
  const std::lock_guard lock(library().caMutex);
  const CARow* found = library().caTable.row(row);
  return found != nullptr ? found->entries : std::vector<CACertEntryRef>{};
}

std::vector<CACertEntryRef> CACache::entriesOfSubject(std::string_view subjectText, int& row) const {
  const std::lock_guard lock(library().caMutex);
  row = library().caTable.find(subjectText);
  const CARow* found = library().caTable.row(row);
  return found != nullptr ? found->entries : std::vector<CACertEntryRef>{};
}

owner<Certificate*> CACache::certificateAt(int row, int index) const {
  const CACertEntryRef entry = entryAt(row, index);
  return entry ? entry->certificate().clone() : nullptr;
}

int CACache::certIndex(int row, const Name& issuer, const BigInteger& serial) const {
  const std::lock_guard lock(library().caMutex);
  return library().caTable.findEntry(row, issuer, serial);
}

int CACache::sourceAt(int row, int index) const {
  const CACertEntryRef entry = entryAt(row, index);
  return entry ? entry->source() : -1;
}

// A row of the subject that lacks this certificate gives 0 here, -1 in the form by names.
int CACache::sourceOfDecoded(const std::unique_ptr<Certificate>& certificate) {
  if (!certificate) {
    logMessage(Logger::kFailure, kCACertNotAdded);
    return -1;
  }
  const Found found = find(identityOf(*certificate));
  if (!found.hasRow) return -1;
  return found.entry ? found.entry->source() : 0;
}

int CACache::sourceOfPEM(const char* base64) {
  return sourceOfDecoded(decodeCertificatePEM(base64));
}

int CACache::sourceOfDER(std::span<const unsigned char> der) {
  return sourceOfDecoded(decodeCertificate(der));
}

int CACache::sourceOf(const Name& subject, const Name& issuer, const BigInteger& serial) const {
  const Found found = find({subject.text(), issuer, serial});
  return found.entry ? found.entry->source() : -1;
}

// Trusted means that the issuer's name has a row. Whether its key signed the certificate is another question.
bool CACache::trustedCA(std::span<const unsigned char> der) {
  const auto certificate = decodeCertificate(der);
  return certificate && rowOf(*certificate->issuerView()) >= 0;
}

owner<char*> CACache::countryCodeAt(int row, int index) const {
  const CACertEntryRef entry = entryAt(row, index);
  return entry && entry->metadata() != nullptr ? entry->metadata()->getCountryCode() : nullptr;
}

owner<char*> CACache::serviceStatusAt(int row, int index) const {
  return textOf(entryAt(row, index), &TSLMetadata::serviceStatusView);
}

owner<char*> CACache::serviceTypeAt(int row, int index) const {
  return textOf(entryAt(row, index), &TSLMetadata::serviceTypeView);
}

unsigned char CACache::qualifiedAt(int row, int index) const {
  const CACertEntryRef entry = entryAt(row, index);
  if (!entry || entry->metadata() == nullptr) return kNoMetadata;
  const auto& type = entry->metadata()->serviceTypeView();
  return type && std::ranges::find(kQualifiedTypes, *type) != std::end(kQualifiedTypes) ? 1 : 0;
}

owner<TSLMetadata*> CACache::metadataOf(const char* base64) {
  const auto certificate = decodeCertificatePEM(base64);
  if (!certificate) {
    logMessage(Logger::kFailure, kCACertNotAdded);
    return nullptr;
  }
  const CACertEntryRef entry = find(identityOf(*certificate)).entry;
  return entry && entry->metadata() != nullptr ? entry->metadata()->clone() : nullptr;
}

owner<_md*> CACache::metadataRecordsOf(const char* base64) {
  const std::unique_ptr<TSLMetadata> metadata(metadataOf(base64));
  std::unique_ptr<_md, RecordsDeleter> head;
  _md* last = nullptr;
  for (const TSLMetadata* record = metadata.get(); record != nullptr; record = record->nextView()) {
    _md* added = newRecord(*record);
    if (last == nullptr) {
      head.reset(added);
    } else {
      last->next = added;
    }
    last = added;
  }
  return head.release();
}

}  // namespace keystrand

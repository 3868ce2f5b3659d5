// Changes of the CA list.
#include <unistd.h>

#include <array>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "cache/CACache.h"
#include "cache/ContextLog.h"
#include "cache/Library.h"
#include "log/MessageCodes.h"
#include "support/File.h"
#include "support/Memory.h"

namespace keystrand {
namespace {

bool keepsExisting(std::int32_t source) {
  return (source & 0xFF) == kSourceKeepExisting;
}

// Whether the encoding is one of a certificate. An object that its setters left incomplete is none, and in the file of
// the list it would make all other certificates unreadable too.
bool comesBack(const Certificate& certificate) {
  Buffer encoding;
  certificate.put(encoding);
  return Certificate().get(encoding) && encoding.atEnd();
}

// Whether what follows the position of a PEM file can be read, were it only its end. A file that is too long for a
// Buffer, a folder and a medium that fails would otherwise pass for a file that has ended.
bool isReadable(const File& file) {
  const std::optional<std::uint64_t> size = fileSize(file.descriptor());
  const off_t position = lseek(file.descriptor(), 0, SEEK_CUR);
  std::array<unsigned char, 1> next{};
  return size && *size <= Buffer::kMaxSize && position >= 0 &&
         readAllAt(file.descriptor(), next, static_cast<std::uint64_t>(position));
}

}  // namespace

bool CACache::insert(std::unique_ptr<Certificate> certificate, std::int32_t source,
                     std::shared_ptr<const TSLMetadata> metadata) {
  if (!certificate || certificate->subjectView() == nullptr || certificate->issuerView() == nullptr) return false;
  CATable& table = library().caTable;
  std::string subject = certificate->subjectView()->text();
  const int row = table.find(subject);
  if (row < 0 && table.isFull()) return false;
  auto entry = std::make_shared<const CACertEntry>(std::move(certificate), source, std::move(metadata));
  if (row < 0) {
    logMessage(Logger::kNotice, kCASubject, subject.c_str());
    table.addRow(std::move(subject), std::move(entry));
    return true;
  }
  const int index = table.findEntry(row, entry->issuer(), entry->serial());
  if (index < 0) {
    table.addEntry(row, std::move(entry));
  } else if (!keepsExisting(source)) {
    table.replaceEntry(row, index, std::move(entry));
  }
  return true;
}

bool CACache::addCertificatesFrom(const File& file, std::int32_t source) {
  while (workBuffer_.readPEMStream(file.descriptor())) {
    auto certificate = decodeCertificate();
    if (certificate && !certificate->hasNoKey()) logMessage(Logger::kWarning, kKeyNotCanonical);
    if (!insert(std::move(certificate), source, nullptr)) {
      logMessage(Logger::kFailure, kCACertNotAdded);
      return false;
    }
  }
  if (isReadable(file)) return true;
  logMessage(Logger::kFailure, kCACertNotAdded);
  return false;
}

bool CACache::addCertificateListPEM(const char* path) {
  const File file = File::openForReading(path);
  if (!file.isOpen() || !isReadable(file)) {
    logMessage(Logger::kFailure, kCACertNotAdded);
    return false;
  }
  logMessage(Logger::kTrace, kCACertsAdding);
  const std::lock_guard lock(library().caMutex);
  if (!addCertificatesFrom(file, kSourceAdded)) return false;
  logMessage(Logger::kTrace, kCACertsAdded);
  logMessage(Logger::kInformation, kCARowCount, library().caTable.count());
  return true;
}

bool CACache::initCertificateListPEM(const char* path) {
  const File file = File::openForReading(path);
  if (!file.isOpen() || !isReadable(file)) {
    logMessage(Logger::kFailure, kCAListNotInitialised);
    return false;
  }
  logMessage(Logger::kTrace, kCAListInitialising);
  const std::lock_guard lock(library().caMutex);
  library().caTable.clear();
  if (!addCertificatesFrom(file, kSourceInitPEM)) {
    logMessage(Logger::kFailure, kCAListNotInitialised);
    return false;
  }
  logMessage(Logger::kTrace, kCAListInitialised);
  logMessage(Logger::kInformation, kCARowCount, library().caTable.count());
  return true;
}

bool CACache::importCertificateListPEM(const char* path) {
  clean();
  return initCertificateListPEM(path) && saveCAList(library().caListPath);
}

bool CACache::addDecoded(std::unique_ptr<Certificate> certificate) {
  if (!certificate) {
    logMessage(Logger::kFailure, kCACertNotAdded);
    return false;
  }
  const std::lock_guard lock(library().caMutex);
  return insert(std::move(certificate), kSourceAdded, nullptr);
}

// The file holds DER, or else PEM.
bool CACache::addCertificateFile(const char* path) {
  std::unique_ptr<Certificate> certificate;
  if (path != nullptr && workBuffer_.loadFile(path)) certificate = decodeCertificate();
  if (!certificate && path != nullptr) {
    workBuffer_.reset();
    if (workBuffer_.loadPEM(path)) certificate = decodeCertificate();
  }
  return addDecoded(std::move(certificate));
}

bool CACache::addCertificate(const Certificate& certificate, std::int32_t source) {
  if (!comesBack(certificate)) return false;
  auto copy = copyOf(&certificate);
  const std::lock_guard lock(library().caMutex);
  return insert(std::move(copy), source, nullptr);
}

bool CACache::addCertificateDER(std::span<const unsigned char> der) {
  return addDecoded(decodeCertificate(der));
}

bool CACache::addCertificatePEM(const char* base64) {
  return addDecoded(decodeCertificatePEM(base64));
}

bool CACache::removeDecoded(const std::unique_ptr<Certificate>& certificate) {
  if (!certificate) {
    logMessage(Logger::kFailure, kCACertNotAdded);
    return false;
  }
  return removeEntry(*certificate);
}

bool CACache::removeEntryPEM(const char* base64) {
  return removeDecoded(decodeCertificatePEM(base64));
}

bool CACache::removeEntryDER(std::span<const unsigned char> der) {
  return removeDecoded(decodeCertificate(der));
}

bool CACache::removeEntry(const Certificate& certificate) {
  if (certificate.subjectView() == nullptr || certificate.issuerView() == nullptr) return false;
  return removeEntry(*certificate.subjectView(), *certificate.issuerView(), certificate.infoView()->serialNumberView());
}

bool CACache::removeEntry(const Name& subject, const Name& issuer, const BigInteger& serial) {
  const std::string text = subject.text();
  const std::lock_guard lock(library().caMutex);
  CATable& table = library().caTable;
  const int row = table.find(text);
  const int index = table.findEntry(row, issuer, serial);
  if (index < 0) return false;
  table.removeEntry(row, index);
  return true;
}

bool CACache::removeSource(std::int32_t source) {
  const std::lock_guard lock(library().caMutex);
  library().caTable.removeSource(source);
  return true;
}

bool CACache::removeCountry(const char* country) {
  const std::lock_guard lock(library().caMutex);
  library().loadedTSLs.remove(country);
  library().caTable.removeCountry(country);
  return true;
}

// What the trusted lists said of themselves stays: only certificates and CRLs go.
void CACache::clean() {
  {
    const std::lock_guard lock(library().caMutex);
    library().caTable.clear();
  }
  const std::lock_guard lock(library().crlMutex);
  library().crlTable.clear();
}

}  // namespace keystrand

// The rows of the catalogue that the library logs or reports, by name.
#pragma once

#include <cstdint>

namespace keystrand {

// Failures; those that a context's errCode can hold come first.
constexpr std::int32_t kInternalError = 5120;
constexpr std::int32_t kKeyNotForCRLs = 5136;
constexpr std::int32_t kCRLNotDownloaded = 5137;
constexpr std::int32_t kCRLNotVerified = 5138;
constexpr std::int32_t kCAListNotInitialised = 5192;
constexpr std::int32_t kCACertNotAdded = 5195;  // of every certificate that cannot be read
constexpr std::int32_t kDistributionPointIncorrect = 5199;
constexpr std::int32_t kDistributionPointNotHandled = 5234;
constexpr std::int32_t kOCSPFailed = 5214;
constexpr std::int32_t kOCSPExpired = 5219;  // stored, though the check goes on

constexpr unsigned long kRevocationDate = 5140;
constexpr unsigned long kInvalidSince = 5148;
constexpr unsigned long kCRLCacheNotRead = 5149;
constexpr unsigned long kCAListNotRead = 5150;
constexpr unsigned long kCRLCacheNotUpdated = 5151;
constexpr unsigned long kCAListNotSaved = 5153;
constexpr unsigned long kCRLCacheNotSaved = 5155;
constexpr unsigned long kCRLExpired = 5156;
constexpr unsigned long kSuspensionDate = 5162;
constexpr unsigned long kOCSPHTTPError = 5215;
constexpr unsigned long kOCSPResponseIncorrect = 5216;
constexpr unsigned long kOCSPResponseStatus = 5217;
constexpr unsigned long kOCSPCertificateUnknown = 5218;
constexpr unsigned long kOCSPNotVerified = 5221;
constexpr unsigned long kKeyNotCanonical = 5222;
constexpr unsigned long kOCSPNoData = 5253;

// States and trace.
constexpr unsigned long kOCSPAddress = 4614;
constexpr unsigned long kOCSPResponseDate = 4615;
constexpr unsigned long kOCSPVerificationStarted = 4620;
constexpr unsigned long kOCSPVerificationEnded = 4623;
constexpr unsigned long kCRLDate = 4626;
constexpr unsigned long kOCSPAlignmentDate = 4629;
constexpr unsigned long kCRLAdded = 4637;
constexpr unsigned long kCRLUpdated = 4638;
constexpr unsigned long kCAListLoading = 4643;
constexpr unsigned long kCRLCacheLoading = 4644;
constexpr unsigned long kCRLCacheUpdating = 4645;
constexpr unsigned long kCRLCacheUpdated = 4646;
constexpr unsigned long kCAListLoaded = 4654;
constexpr unsigned long kCRLCacheLoaded = 4655;
constexpr unsigned long kHTTPSDownloadStarted = 4673;
constexpr unsigned long kHTTPSDownloadEnded = 4674;
constexpr unsigned long kCASubject = 4675;
constexpr unsigned long kCRLIssuer = 4676;
constexpr unsigned long kCARowCount = 4677;
constexpr unsigned long kCAListInitialising = 4678;
constexpr unsigned long kCAListInitialised = 4681;
constexpr unsigned long kCRLCacheSaving = 4686;
constexpr unsigned long kCRLCacheSaved = 4687;
constexpr unsigned long kCAListSaving = 4688;
constexpr unsigned long kCAListSaved = 4689;
constexpr unsigned long kOCSPStarted = 4692;
constexpr unsigned long kOCSPNotRevoked = 4693;
constexpr unsigned long kOCSPRevoked = 4694;
constexpr unsigned long kCACertsAdded = 4695;
constexpr unsigned long kLDAPDownloadStarted = 4696;
constexpr unsigned long kLDAPDownloadEnded = 4697;
constexpr unsigned long kHTTPDownloadStarted = 4698;
constexpr unsigned long kHTTPDownloadEnded = 4699;
constexpr unsigned long kLDAPTimeRequestStarted = 4700;
constexpr unsigned long kLDAPTimeRequestEnded = 4701;
constexpr unsigned long kCRLCheckStarted = 4704;
constexpr unsigned long kCRLCheckEnded = 4705;
constexpr unsigned long kSerialSearchStarted = 4708;
constexpr unsigned long kSerialRevoked = 4709;
constexpr unsigned long kSerialNotRevoked = 4710;
constexpr unsigned long kCRLCacheCount = 4711;
constexpr unsigned long kCRLAddress = 4712;
constexpr unsigned long kRowSearchStarted = 4713;
constexpr unsigned long kRowFound = 4714;
constexpr unsigned long kRowNotFound = 4715;
constexpr unsigned long kCACertsAdding = 4723;
constexpr unsigned long kTimeRequestStarted = 4725;
constexpr unsigned long kTimeRequestEnded = 4726;

}  // namespace keystrand

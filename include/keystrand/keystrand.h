// Keystrand: a list of trusted CA certificates, a cache of CRLs, and what a verifier of signatures asks of them.
//
// Nothing here throws. A client that holds the semaphore of cache_getCryptoDeviceSemaphore, to drive the device
// itself, calls no function of this header meanwhile but the plain getters of the report.
#pragma once

#include "keystrand/cache/Records.h"
#include "keystrand/der/BigInteger.h"
#include "keystrand/support/Api.h"

namespace keystrand {
class AttributeCertificate;
class AuthorityKeyIdentifier;
class BasicOCSPResponse;
class CertList;
class Certificate;
class CertificateList;
class DistributionPointName;
class Name;
class OCSPResponse;
class Semaphore;
class TSLMetadata;
class X500Time;
class XMLFile;
}  // namespace keystrand

// --- Life cycle
//
// cache_init comes first and works once per process: a later call returns 1 and changes nothing, so the directories
// of the first stay in force. caDir holds the CA list file, crlDir the CRL cache file; nullptr or "" for crlDir
// means caDir, for caDir the working directory. ident and logFile are for the log; a null logFile keeps no log.
// Always returns 1. A context serves one thread at a time; all trust data is shared by all contexts. Contexts that
// are to log are made after cache_enableLog. A context made before cache_init decodes and verifies nothing, then and
// later. Nothing is saved when the library ends; after cache_finalize contexts may only be released, and the process
// cannot start it again. The semaphore guards the one CryptoDevice of the process; nullptr before cache_init.
KEYSTRAND_API unsigned char cache_init(char* ident, char* logFile);
KEYSTRAND_API unsigned char cache_init(char* caDir, char* ident, char* logFile);
KEYSTRAND_API unsigned char cache_init(char* caDir, char* crlDir, char* ident, char* logFile);
KEYSTRAND_API void cache_finalize();
KEYSTRAND_API void* cache_getContext();
KEYSTRAND_API void* ocsp_getContext();
KEYSTRAND_API void cache_releaseContext(void* ctx);
KEYSTRAND_API void ocsp_releaseContext(void* ctx);
KEYSTRAND_API keystrand::Semaphore* cache_getCryptoDeviceSemaphore();

// --- Settings of the whole process, in force at once
//
// All may be called before cache_init, which overwrites two of them: the download mode and the location of the
// European list. Texts are copied; of a location and of the CRL proxy the first 256 bytes count, of a path the first
// 259.
//
// cache_setDownloadCRL: 1 fetch a CRL once per session, 2 (default) when it has expired or the server has a newer
// one, 3 at every search, 4 never. cache_setTimeStampCheck: 0 never asks a server for the time of a CRL. Time-outs
// are seconds: 60 for CRLs, 15 for OCSP. cache_setLang: 0 Italian (default), 1 English. cache_enableLog: level of
// contexts made from now on, 3 failures to 7 trace; more counts as 7. nullptr or "" switches off the CRL proxy, the
// trace of libcurl (cache_setCURLlog) and its CA bundle, and a null user or password the credentials of a proxy, in
// which libcurl reads %25 for a percent sign and %3A for a colon; a null or empty host or a port below 1 switches a
// proxy off. Lists of hosts end with nullptr; cache_setNoHTTPProxy asks the resolver.
//
// cache_setSOCKSProxy: connections that are not HTTP speak SOCKS 5 to that server, with or without credentials, except
// to hosts in a network of this machine; a text of more than 127 bytes leaves their side as it was. HTTP requests reach
// the server with credentials only, and in SOCKS 4. cache_setNoSOCKS: an address is reached without it by both, a host
// name by HTTP requests, a network "address / mask", both dotted numbers, by the others; a network's entry is cut in
// place, leaving the address.
//
// The url of cache_setHTTPProxy is that of a proxy auto-configuration script, http or https, or the path of one, which
// may begin with file://. The script is read here, and asked before each request; where it cannot be had or does not
// run, requests go directly. libcurl, which fetches CRLs, lists and OCSP answers, gets its proxy's host with port 80.
KEYSTRAND_API void cache_setDownloadCRL(unsigned char mode);
KEYSTRAND_API void cache_setTimeStampCheck(unsigned char on);
KEYSTRAND_API void cache_setTimeout(int seconds);
KEYSTRAND_API void ocsp_setTimeout(int seconds);
KEYSTRAND_API void ocsp_setTCPTimeout(int seconds);
KEYSTRAND_API void cache_setLang(int lang);
KEYSTRAND_API void cache_enableLog(unsigned char level);
KEYSTRAND_API void cache_disableLog();
KEYSTRAND_API void cache_setEUTSLLocation(char* location);
KEYSTRAND_API void cache_setCrlProxyUri(char* uri);
KEYSTRAND_API void cache_setCURLlog(char const* path);
KEYSTRAND_API void cache_setCURLCaCert(char const* path);
KEYSTRAND_API void cache_setHTTPProxy(char* url, char* user, char* password);
KEYSTRAND_API void cache_setHTTPProxy(char* host, int port, char* user, char* password);
KEYSTRAND_API void cache_setSOCKSProxy(char* host, int port, char* user, char* password);
KEYSTRAND_API void cache_setNoHTTPProxy(char** hosts);
KEYSTRAND_API void cache_setNoSOCKS(char** entries);

// --- Report of the last operation of a context
//
// cache_getErrCode gives the catalogue code of the last failure of a long operation, or (unsigned long)-1. The
// reason is that of RFC 5280 section 5.3.1. Times are new copies, nullptr when there is none; release with
// cache_releaseX500Time. A question sets what its answer tells and clears the code alone: without a reset before it,
// the reason and the dates of an earlier revocation stay.
KEYSTRAND_API unsigned long cache_getErrCode(void* ctx);
KEYSTRAND_API unsigned long ocsp_getErrCode(void* ctx);
KEYSTRAND_API unsigned char cache_getReason(void* ctx);
KEYSTRAND_API unsigned char ocsp_getReason(void* ctx);
KEYSTRAND_API keystrand::X500Time* cache_getThisUpdate(void* ctx);
KEYSTRAND_API keystrand::X500Time* ocsp_getThisUpdate(void* ctx);
KEYSTRAND_API keystrand::X500Time* cache_getNextUpdate(void* ctx);
KEYSTRAND_API keystrand::X500Time* ocsp_getNextUpdate(void* ctx);
KEYSTRAND_API keystrand::X500Time* cache_getRevocationDate(void* ctx);
KEYSTRAND_API keystrand::X500Time* ocsp_getRevocationDate(void* ctx);
KEYSTRAND_API keystrand::X500Time* cache_getInvalidSince(void* ctx);
KEYSTRAND_API keystrand::X500Time* ocsp_getInvalidSince(void* ctx);
KEYSTRAND_API keystrand::X500Time* cache_getExpiredCertsOnCRL(void* ctx);
KEYSTRAND_API void cache_resetReport(void* ctx);
KEYSTRAND_API void ocsp_resetReport(void* ctx);

// --- The CA list
//
// A row stands for one subject, whatever the case of its letters, an index for one certificate of it; both are valid
// until the next change of the list. There are at most 2048 rows; a further subject is refused. What is handed in
// stays the caller's. Paths are UTF-8. Base64 is that of the DER encoding alone, without armour lines.
//
// Functions that return unsigned char give 1 for success and 0 for failure, int functions -1 for not found. None of
// them sets the code of cache_getErrCode: the reason of a failure is in the log, and where a parameter takes it.
//
// Certificates of an armoured file: add keeps what the list holds; init empties it first; import empties the CRL
// table as well and saves the new list. A certificate that cannot be read ends the work with 0, those before it
// stay, and an import then saves nothing. The file begins with an armour and holds nothing behind the last one:
// other text is taken for data, and fails.
KEYSTRAND_API int cache_getCACertsNum(void* ctx);  // rows, not certificates
KEYSTRAND_API unsigned char cache_initCACertListPEM(void* ctx, char* path);
KEYSTRAND_API unsigned char cache_importCACertsListPEM(void* ctx, char* path);
KEYSTRAND_API unsigned char cache_addCACertListPEM(void* ctx, char* path);
// One certificate, from a file (DER, or else PEM), from memory, or as an object. A certificate of the same subject,
// issuer and serial number is replaced, and what a trusted list said of it is lost. `source` tells where it came
// from: 1 a trusted list, 2 an initial PEM file, 3 (where none is given) added; 4 leaves a certificate alone that is
// there already, with result 1; any other number is stored as it stands.
KEYSTRAND_API unsigned char cache_addCACert(void* ctx, char* path);
KEYSTRAND_API unsigned char cache_addCACert(void* ctx, keystrand::Certificate* cert);
KEYSTRAND_API unsigned char cache_addCACert(void* ctx, keystrand::Certificate* cert, int source);
KEYSTRAND_API unsigned char cache_addCACert(void* ctx, unsigned char* der, unsigned int length);
KEYSTRAND_API unsigned char cache_addCACertDER(void* ctx, unsigned char* der, unsigned int length);
KEYSTRAND_API unsigned char cache_addCACertPEM(void* ctx, char* base64);
// *errCode is set to 5195 when the result is 0, and left alone otherwise.
KEYSTRAND_API unsigned char cache_addCACertPEM(void* ctx, char* base64, unsigned long* errCode);
// 0 also when there is no such certificate.
KEYSTRAND_API unsigned char cache_removeCACertPEM(void* ctx, char* base64);
KEYSTRAND_API unsigned char cache_removeCACertDER(void* ctx, unsigned char* der, unsigned int length);
KEYSTRAND_API unsigned char cache_removeCACert(void* ctx, keystrand::Name* subject, keystrand::Name* issuer,
                                               keystrand::BigInteger serial);
// Of entries of this source that stand next to each other in a row every second one stays: repeat until nothing
// changes.
KEYSTRAND_API unsigned char cache_removeSourceCACerts(void* ctx, int source);
// Whole rows, those whose first certificate a trusted list of this country brought; the list counts as not loaded.
KEYSTRAND_API unsigned char cache_removeCountryCACerts(void* ctx, char* const country);
// Empties the CA list and the CRL table, for all contexts.
KEYSTRAND_API void cache_clean(void* ctx);
// A load replaces the list. 0 when the file cannot be read, the list then stays, and *errCode is set to 5150; a
// damaged file gives 1 and an empty list. An empty list is not saved: 0, and the file keeps what it has.
// Two saved files read as empty: one with a CA whose trusted list leaves out the name, type, status or starting time of
// its service, now or in its history (nullptr in cache_getCertMetadata and what follows it), and one that was saved
// behind cache_clean while trusted lists count as loaded.
KEYSTRAND_API unsigned char cache_loadCACertList(void* ctx);
KEYSTRAND_API unsigned char cache_loadCACertList(void* ctx, unsigned long* errCode);
KEYSTRAND_API unsigned char cache_saveCACertList(void* ctx);
// The row of a name, and what stands at its indexes. The certificate is a new copy (cache_releaseCertificate).
KEYSTRAND_API int cache_getCACerts(void* ctx, keystrand::Name* subject);
KEYSTRAND_API keystrand::Certificate* cache_getCACert(void* ctx, int row, int index);
KEYSTRAND_API int cache_getCertIndex(void* ctx, int row, keystrand::Name* issuer, keystrand::BigInteger serial);
// Index of the certificate of this row that issued the object. A match of the authority key identifier (RFC 5280
// section 4.2.1.1), which may be nullptr, is taken without a check of the signature; only where none matches the
// keys are tried in turn. Dates and key usage play no part.
KEYSTRAND_API int cache_getCAIndex(void* ctx, keystrand::Certificate* cert, int row,
                                   keystrand::AuthorityKeyIdentifier* aki);
KEYSTRAND_API int cache_getCAIndex(void* ctx, keystrand::AttributeCertificate* cert, int row,
                                   keystrand::AuthorityKeyIdentifier* aki);
KEYSTRAND_API int cache_getCAIndex(void* ctx, keystrand::CertificateList* crl, int row,
                                   keystrand::AuthorityKeyIdentifier* aki);
// For a certificate that is not in the row of its subject the forms by certificate give 0, the form by names -1.
KEYSTRAND_API int cache_getCACertSource(void* ctx, int row, int index);
KEYSTRAND_API int cache_getCACertSource(void* ctx, char* base64);
KEYSTRAND_API int cache_getCACertSource(void* ctx, unsigned char* der, unsigned int length);
KEYSTRAND_API int cache_getCACertSource(void* ctx, keystrand::Name* subject, keystrand::Name* issuer,
                                        keystrand::BigInteger serial);
// Whether a row has the name of the certificate's issuer. No key, signature, date or service status is looked at.
KEYSTRAND_API unsigned char cache_trustedCA(void* ctx, unsigned char* der, unsigned long length);
// What a trusted list said of a certificate, nullptr when none named it. Texts go back through
// cache_releaseCharArray. cache_getQualified: 1 for the service types CA/QC and TSA/QTST, 0 for others, 255 when no
// list named the certificate.
KEYSTRAND_API char* cache_getCountryCode(void* ctx, int row, int index);
KEYSTRAND_API char* cache_getServiceStatus(void* ctx, int row, int index);
KEYSTRAND_API char* cache_getServiceType(void* ctx, int row, int index);
KEYSTRAND_API unsigned char cache_getQualified(void* ctx, int row, int index);
KEYSTRAND_API keystrand::TSLMetadata* cache_getCertMetadatiTSL(void* ctx, char* base64);
KEYSTRAND_API keystrand::_md* cache_getCertMetadata(void* ctx, char* base64);

// --- Trust service lists (ETSI TS 119 612)
//
// The way from the European list of lists to the CAs of a country: cache_loadEUTSL, cache_getCountries,
// cache_getCountryTSL, the client's own verification of the list with the certificates that came with it,
// cache_addCACertListCountryTSL, cache_saveCACertList. The library verifies no signature of a list.
//
// Taken of a list are the certificates of services that issue certificates or time-stamps (of any service when
// allServices is not 0) unless the state has withdrawn them or names a use other than electronic seals and signatures.
// They replace all rows whose first certificate a list of the same country brought. A provider without services ends
// the reading of its list. 0 with code 5195 (5192 when the list is initialised) when the list lacks its number or
// territory, a service what every service has, or the table is full; what was added before stays.
//
// A list that came from cache_getCountryTSL leaves a record, with its number and location, at the next add in that
// context; a list from a file leaves none. Records outlive cache_clean and every initialisation.
//
// init replaces the CA list. import empties the CRL table too, and saves the list.
KEYSTRAND_API unsigned char cache_initCACertListTSL(void* ctx, char* path);
KEYSTRAND_API unsigned char cache_importCACertsListTSL(void* ctx, char* path);
KEYSTRAND_API unsigned char cache_addCACertListTSL(void* ctx, char* path);
KEYSTRAND_API unsigned char cache_addCACertListTSL(void* ctx, keystrand::XMLFile* list);
KEYSTRAND_API unsigned char cache_addCACertListCountryTSL(void* ctx, keystrand::XMLFile* list);
KEYSTRAND_API unsigned char cache_addCACertListCountryTSL(void* ctx, keystrand::XMLFile* list,
                                                          unsigned char allServices);
// The European list is fetched once and kept for all contexts until cache_setEUTSLLocation. 0 when it cannot be fetched
// or is no XML document; in the latter case it counts as loaded, and holds nothing.
KEYSTRAND_API unsigned char cache_loadEUTSL(void* ctx);
KEYSTRAND_API unsigned char cache_loadEUTSL(void* ctx, char* path);
KEYSTRAND_API unsigned char cache_loadedEUTSL(void* ctx);
KEYSTRAND_API unsigned char cache_loadedTSL(void* ctx, char* const country);
// An element countryList with a country for each of the European list's pointers, but for EU and EE and for lists in
// PDF; nullptr unless the European list is loaded (cache_releaseXMLFile).
KEYSTRAND_API keystrand::XMLFile* cache_getCountries(void* ctx);
// The list of a country, fetched, and the certificates that may have signed it (cache_releaseCertList). nullptr when
// the country has no pointer, its list cannot be fetched or nothing says who signs it. A list that was fetched and is
// no XML document comes as an empty one. While a list is fetched other questions about the European list wait.
KEYSTRAND_API keystrand::XMLFile* cache_getCountryTSL(void* ctx, char* const country,
                                                      keystrand::CertList** signingCerts);
// The certificates for a list that the client holds, by the territory that follows its cursor. Careful: when the
// country is among the pointers and nothing says who signs its list, the result is nullptr and `list` is DELETED; when
// the country is not among them, or the European list is not loaded, the result is nullptr too and the list stays.
KEYSTRAND_API keystrand::CertList* cache_getCountryTSLSigningCerts(void* ctx, keystrand::XMLFile* list);
// 1 when the list that is published now has a higher number than the one loaded, or none of that country is loaded.
KEYSTRAND_API unsigned char cache_checkCountryCACertsUpdates(void* ctx, char* country);
// One record, or all as a chain in the order of loading (cache_release_tslInfo); nullptr for none.
KEYSTRAND_API keystrand::_ti* cache_getLoadedTSLInfo(void* ctx, char* const country);
KEYSTRAND_API keystrand::_ti* cache_getLoadedTSLInfos(void* ctx);

// --- CRLs
//
// One table for the whole process holds the last CRL accepted from each URI, 2048 at most; a URI that could not be
// fetched keeps its place too. A CRL is accepted when a CA of the list that has its issuer's name, and whose key usage
// allows it, has signed it; its dates play no part. Downloads block, within the time-outs above.
//
// cache_loadCRLCache: 0 when the file cannot be read. A damaged file gives 1 and leaves the table as long as it was,
// with the rows before the damage replaced. cache_saveCRLCache: 0 when the file cannot be written; what it had is then
// lost. cache_isCRLCacheModified: 1 from the moment a download has brought a CRL into the table until
// cache_clearCRLCacheModified; saving does not clear it.
KEYSTRAND_API unsigned char cache_loadCRLCache(void* ctx);
KEYSTRAND_API unsigned char cache_saveCRLCache(void* ctx);
KEYSTRAND_API unsigned char cache_isCRLCacheLoaded();
KEYSTRAND_API unsigned char cache_isCRLCacheModified();
KEYSTRAND_API void cache_clearCRLCacheModified();
// Brings the whole table up to date. An empty one is filled from the distribution points of the certificates in the CA
// list; of a full one the rows are fetched that are due, hold nothing, or have something newer at their server, in
// download mode 3 as in mode 2; in mode 1 a full table, and in mode 4 any, stays as it is. A CRL that cannot be fetched
// is no failure. Searches of all contexts wait until it has finished. 0 when filling met a distribution point without
// general names, or had no row left (code 5120): the rows so far stay.
KEYSTRAND_API unsigned char cache_updateCRLCache(void* ctx);
// Is the certificate of this serial number on the CRL of this distribution point (RFC 5280 section 4.2.1.13)? `serial`
// is upper-case hexadecimal text as serialNumberText(16) gives it; a number in any other form is on no CRL. Of several
// URIs the CRL with the latest thisUpdate answers, expired or not: cache_getNextUpdate tells. 1 means revoked, a hold
// (reason 6) included; 0 with cache_getErrCode still at -1 means not revoked.
//
// What came from a URI answers whichever CA of the list has signed it: caRow counts for local CRLs alone, and
// cache_getCRL tells the issuer. Critical extensions and the scope of a CRL are not looked at, and delta CRLs not
// known. Each URI is asked and takes a row, so a client checks the signature of a stranger's certificate first.
//
// 0 with another code is no answer to rely on:
//   5120  no serial number, or no memory
//   5137  no CRL to search: none could be fetched and accepted, or no local one fits
//   5199  the distribution point holds no general names
//   5234  one of its names is no URI; whether the CRL of another one was searched is not told
//   5136, 5138  the CA may not sign CRLs, or a signature is wrong; an older CRL, or one from another name, was
//         searched in its stead, and the serial number is not on it
KEYSTRAND_API unsigned char cache_searchCRL(void* ctx, keystrand::DistributionPointName* dp, int caRow, char* serial);
// A deep copy of the CRL (cache_releaseCertificateList) and through caCert, unless that is nullptr, the certificate of
// its issuer (cache_releaseCertificate), nullptr when it has left the list. With cachedOnly a CRL that is held is not
// fetched again. nullptr without a CRL: code 5137 and *caCert nullptr, or 5199, or 5120 for a full table or no memory,
// *caCert as it was.
KEYSTRAND_API keystrand::CertificateList* cache_getCRL(void* ctx, keystrand::DistributionPointName* dp, int caRow,
                                                       keystrand::Certificate** caCert);
KEYSTRAND_API keystrand::CertificateList* cache_getCRL(void* ctx, keystrand::DistributionPointName* dp, int caRow,
                                                       unsigned char cachedOnly, keystrand::Certificate** caCert);
// Local CRLs: copies that one context keeps. While it is told to use them, cache_searchCRL asks them alone, the last
// one added first: a CRL that names its distribution point answers for that URI, any other for the CA of caRow. Each
// is checked as a fetched one is, so it has to come from cache_getCRL or another decoding with a device: without a
// digest it does not verify.
KEYSTRAND_API void cache_setUseLocalCRLs(void* ctx, unsigned char use);
KEYSTRAND_API void cache_addLocalCRL(void* ctx, keystrand::CertificateList* crl);
KEYSTRAND_API void cache_removeLocalCRLs(void* ctx);

// --- OCSP (RFC 6960)
//
// Trust in a response rests on the issuer handed in: it has signed the response itself, or the certificate of its
// signer. Neither the responder's dates nor a nonce are looked at. The URI is the caller's to find, in
// authorityInfoAccess.
//
// ocsp_check: is the certificate of this serial number, in hexadecimal text, revoked? 1 means revoked; 0 with
// ocsp_getErrCode at -1 means good. With code 5219 either stands as well, in a response that is past its nextUpdate; 0
// with any other code is no answer. A response of another type than id-pkix-ocsp-basic reads as good, and whoever
// stands between can send one: a good answer is one only if ocsp_getThisUpdate, after ocsp_resetReport, gives a time.
//
// ocsp_getResponse: the verified response of the responder, whatever it says (ocsp_releaseOCSPResponse), or nullptr.
//
// Stored responses: copies that one context keeps. While it is told to use them ocsp_check sends nothing, its URI may
// be nullptr, and they are asked in the order in which they were added until one gives an answer. They are never old.
KEYSTRAND_API unsigned char ocsp_check(void* ctx, char* uri, keystrand::Certificate* issuer, char* serial);
KEYSTRAND_API keystrand::OCSPResponse* ocsp_getResponse(void* ctx, char* uri, keystrand::Certificate* issuer,
                                                        keystrand::BigInteger serial);
KEYSTRAND_API void ocsp_addOCSPResponse(void* ctx, keystrand::OCSPResponse* response);
KEYSTRAND_API void ocsp_addOCSPResponse(void* ctx, keystrand::BasicOCSPResponse* response);
KEYSTRAND_API void ocsp_removeLocalResponses(void* ctx);
KEYSTRAND_API void ocsp_setUseLocalResponses(void* ctx, unsigned char use);

// --- Giving back what the functions above returned; nullptr is ignored
//
// cache_release_tslMetadata and cache_release_tslInfo free exactly the record handed in: its texts, which came from
// malloc, and the records behind it are the client's to free.
KEYSTRAND_API void cache_releaseCharArray(char* text);
KEYSTRAND_API void cache_releaseCertificate(keystrand::Certificate* cert);
KEYSTRAND_API void cache_releaseCertificateList(keystrand::CertificateList* crl);
KEYSTRAND_API void cache_releaseCertList(keystrand::CertList* list);
KEYSTRAND_API void cache_releaseXMLFile(keystrand::XMLFile* file);
KEYSTRAND_API void cache_releaseTSLMetadata(keystrand::TSLMetadata* md);
KEYSTRAND_API void cache_release_tslMetadata(keystrand::_md* md);
KEYSTRAND_API void cache_release_tslInfo(keystrand::_ti* info);
KEYSTRAND_API void cache_releaseX500Time(keystrand::X500Time* time);
KEYSTRAND_API void ocsp_releaseOCSPResponse(keystrand::OCSPResponse* response);

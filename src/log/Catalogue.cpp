// The rows of the catalogue. Misspellings stand as they are: clients compare texts.
#include "log/Catalogue.h"

#include <algorithm>
#include <cstddef>

namespace keystrand {
namespace {

constexpr Message kErrors[] = {
    {"Errore interno", "Internal error"},                                                            // 5120
    {"Manca l'argomento, provare Corvane -h", "The argument is missing, try Corvane -h"},            // 5121
    {"Impossibile leggere il file", "It is not possible to read the file"},                          // 5122
    {"Il file non contiene una busta PKCS#7", "File does not contain a PKCS#7 envelop"},             // 5123
    {"La busta PKCS#7 non contiene un SignedData", "PKCS#7 envelop does not contain a SignedData"},  // 5124
    {"Certificato del firmatario non trovato", "Signer certificate not found"},                      // 5125
    {"Certificato del firmatario non verificato", "Signer certificate not verified"},                // 5126
    {"Certificato del firmatario scaduto", "Signer certificate expired"},                            // 5127
    {"Certificato del firmatario revocato", "Signer certificate revoked"},                           // 5128
    {"Chiave del firmatario non abilitata alla firma digitale",
     "Signer key not enabled for digital signature"},                                                          // 5129
    {"Certificato della CA non trovato", "CA certificate not found"},                                          // 5130
    {"Certificato della CA non valido", "Invalid CA certificate"},                                             // 5131
    {"Certificato della CA non verificato", "CA certificate not verified"},                                    // 5132
    {"Certificato della CA scaduto", "CA certificate expired"},                                                // 5133
    {"Certificato della CA revocato", "CA certificate revoked"},                                               // 5134
    {"Chiave della CA non abilitata alla firma digitale", "CA key not enabled for digital signature"},         // 5135
    {"Chiave della CA non abilitata alla firma CRL", "CA key not enabled for CRL signature"},                  // 5136
    {"Impossibile scaricare la CRL", "CRL could not be downloaded"},                                           // 5137
    {"Firma sulla CRL non verificata", "CRL Signature not verified"},                                          // 5138
    {"Impossibile aprire il file di output", "It is not possible to open output file"},                        // 5139
    {"Data revoca: %s", "Revocation date: %s"},                                                                // 5140
    {"Non specificato", "Not specified"},                                                                      // 5141
    {"Chiave compromessa", "Key compromised"},                                                                 // 5142
    {"Chiave della CA compromessa", "CA Key compromised"},                                                     // 5143
    {"Recesso dal contratto", "Withdrawn from contract"},                                                      // 5144
    {"Il certificato e' stato sostituito", "Certificate has been replaced"},                                   // 5145
    {"Certificato non piu' utilizzato", "Certificate no longer used"},                                         // 5146
    {"Certificato della marca temporale scaduto", "TimeStamp certificate expired"},                            // 5147
    {"Non valido dal:", "No longer valid since:"},                                                             // 5148
    {"Impossibile leggere la cache delle CRL", "Failed to access the CRLs cache"},                             // 5149
    {"Impossibile leggere la lista dei Certificati", "Failed to access the list of CA certificates"},          // 5150
    {"Impossibile aggiornare la cache delle CRL", "Failed to update the CRLs cache"},                          // 5151
    {"Verifica detached non consentita su file m7m", "Detached verifcation not allowed on file m7m"},          // 5152
    {"Impossibile salvare la lista dei Certificati", "Failed to save the list of CA certificates"},            // 5153
    {"Algoritmo di digest non ancora implementato", "Digest algorithm not yet implemented"},                   // 5154
    {"Impossibile salvare la cache delle CRL", "Failed to save the CRLs cache"},                               // 5155
    {"CRL scaduta", "CRL expired"},                                                                            // 5156
    {"Certificato della marca temporale revocato", "Timestamp certificate revoked"},                           // 5157
    {"Certificato del firmatario non ancora valido", "Signer certificate not yet valid"},                      // 5158
    {"Certificato della marca temporale sospeso", "Timestamp certificate is hold"},                            // 5159
    {"Certificato della CA sospeso", "CA certificate is hold"},                                                // 5160
    {"Certificato del firmatario sospeso", "Signer certificate is hold"},                                      // 5161
    {"Data sospensione:", "Suspension date:"},                                                                 // 5162
    {"Impossibile leggere il file di configurazione del proxy", "Failed to access proxy configuration file"},  // 5163
    {"Configurazione proxy: manca proxyAddress", "Proxy configuration: proxyAddress missed"},                  // 5164
    {"Configurazione proxy: manca proxyPort", "Proxy configuration: proxyPort missed"},                        // 5165
    {"Configurazione proxy: manca proxyPasswd", "Proxy configuration: proxyPasswd missed"},                    // 5166
    {"Marca temporale non valida", "Invalid Timestamp"},                                                       // 5167
    {"La busta PKCS#7 non contiene una marca temporale", "PKCS#7 envelop does not contain a timestamp"},       // 5168
    {"Il file non contiene una marca temporale", "File does not contain a timestamp token"},                   // 5169
    {"Impossibile leggere il file di configurazione del SOCKS", "Failed to access SOCKS configuration file"},  // 5170
    {"Configurazione SOCKS: manca SOCKSAddress", "SOCKS configuration: SOCKSAddress missed"},                  // 5171
    {"Configurazione SOCKS: manca SOCKSPort", "SOCKS configuration: SOCKSPort missed"},                        // 5172
    {"Configurazione SOCKS: manca SOCKSPasswd", "SOCKS configuration: SOCKSPasswd missed"},                    // 5173
    {"seCorvaneServer non raggiungibile", "seCorvaneServer not reachable"},                                    // 5174
    {"Impossibile leggere il file di configurazione del server",
     "Failed to access the server configuration file"},                                              // 5175
    {"Configurazione server: manca la voce pidFile", "Server configuration: pidFile entry missed"},  // 5176
    {"Configurazione server: manca la voce myPort", "Server configuration: myPort entry missed"},    // 5177
    {"Configurazione server: manca la voce ctlFile", "Server configuration: ctlFile entry missed"},  // 5178
    {"Configurazione server: le voci deny e permit sono mutuamente esclusive",
     "Server configuration: deny and permit entries are mutually exclusive"},                                  // 5179
    {"Errore sulla porta di servizio %d", "Error on service port %d"},                                         // 5180
    {"Errore sul socket di controllo", "Error on control socket"},                                             // 5181
    {"Configurazione server: troppe voci deny/permit", "Server configuration: too many deny/permit entries"},  // 5182
    {"Memoria virtuale esaurita", "Virtual memory exausted"},                                                  // 5183
    {"File di input con formato sconosciuto", "Input file with unknown format"},                               // 5184
    {"Certificato del firmatario non conforme allo standard X.509",
     "Signer certificate not compliant with X.509 standard"},                                // 5185
    {"Digest non valido negli authenticatedAttrs", "Invalid digest in authenticatedAttrs"},  // 5186
    {"Chiave non abilitata alla marcatura temporale", "Key not enabled for timestamping"},   // 5187
    {"Stato del certificato alla data di firma non disponibile",
     "Certificate status at signature date is not available"},                                                // 5188
    {"Formato dell'attributo SigningCertificate non valido", "Invalid SigningCertificate attribute format"},  // 5189
    {"Attributo SigningCertificate non presente", "SigningCertificate attribute non present"},                // 5190
    {"L'attributo SigningCertificate non identifica il firmatario",
     "SigningCertificate attribute does not identify the signer"},                                               // 5191
    {"Impossibile inizializzare la lista dei Certificati", "Failed to initialize the list of CA certificates"},  // 5192
    {"Documento originale non trovato", "Original document not found"},                                          // 5193
    {"Data di firma con formato non corretto", "Signature date with incorrect format"},                          // 5194
    {"Impossibile aggiungere alla lista dei certificati", "Failed to add to the list of CA certificates"},       // 5195
    {"Errore durante la ricezione della richiesta di servizio [%s]",
     "Errore while receiving service request [%s]"},                                                            // 5196
    {"Messaggio di controllo con codice operativo non valido", "control message with invalid operating code"},  // 5197
    {"Richiesta di servizio non valida", "Invalid service request"},                                            // 5198
    {"Formato del DistributionPoint non valido", "DistributionPoint with incorrect format"},                    // 5199
    {"Firma non verificata", "Signature not verified"},                                                         // 5200
    {"Marca temporale non verificata", "Timestamp not verified"},                                               // 5201
    {"Il digest e' stato calcolato su un documento vuoto", "Digest has been calculated on an empty document"},  // 5202
    {"Non tutte le firme sono state verificate", "Not all the signatures have been verified"},                  // 5203
    {"File non conforme allo standard XML", "File not compliant with the XML standard"},                        // 5204
    {"Il file non contiene alcuna firma XML", "File does not contain any XML signature"},                       // 5205
    {"URI della Reference non ancora gestito", "Reference URI not yet managed"},                                // 5206
    {"File non conforme allo standard PDF 1.4", "File not compliant with the PDF 1.4 standard"},                // 5207
    {"Il file non contiene alcuna firma PDF", "File does not contain any PDF signature"},                       // 5208
    {"Stato del certificato della marca temporale non disponibile",
     "Timestamp certificate status is not available"},                                             // 5209
    {"Marca temporale scaduta", "Timestamp expired"},                                              // 5210
    {"Marca temporale senza obbligo di conservazione", "Timestamp without obligation to retain"},  // 5211
    {"Attributo SigningCertificateV2 con formato non corretto",
     "SigningCertificateV2 attribute with incorrect format"},  // 5212
    {"L'attributo SigningCertificateV2 non identifica il firmatario",
     "SigningCertificateV2 attribute does not identify the signer"},                                          // 5213
    {"Impossibile accedere allo stato OCSP", "Failed to get OCSP status"},                                    // 5214
    {"Servizio OCSP: errore HTTP [%d]", "OCSP service: HTTP error [%d]"},                                     // 5215
    {"Servizio OCSP: risposta con formato non valido", "OCSP service: response with incorrect format"},       // 5216
    {"Servizio OCSP: errore OCSP [%d]", "OCSP service: OCSP error [%d]"},                                     // 5217
    {"Servizio OCSP: certificato non riconosciuto", "OCSP service: unknown certificate"},                     // 5218
    {"Servizio OCSP: dati scaduti", "OCSP service: data expired"},                                            // 5219
    {"Algoritmo di digest non dichiarato in precedenza", "Digest algorithm not previously declared"},         // 5220
    {"Servizio OCSP: firma sulla risposta non verificata", "OCSP service: response signature not verified"},  // 5221
    {"Codifica del certificato non conforme al formato BER",
     "Certificare encoding not conform to the BER format"},  // 5222
    {"Firma non valida perche' apposta dopo il 30 giugno 2011",
     "Invalid signature as affixed after June 30, 2011"},  // 5223
    {"Firma non valida perche' basata sull'algoritmo SHA1",
     "Invalid signature because it is based on SHA1 algorithm"},  // 5224
    {"Marca temporale non conforme alle regole tecniche DigitPA",
     "Timestamp not compliant with DigitPA technical rules"},              // 5225
    {"Data di verifica non valida: %s", "Invalid verification date: %s"},  // 5226
    {"Almeno una delle CRL utilizzate nella verifica e' scaduta",
     "At least one of the CRL involved into verification is expired"},  // 5227
    {"Busta crittografica non conforme alla normativa vigente",
     "Cryptographic envelope not compliant with current legislation"},  // 5228
    {"Il digest non e' stato calcolato sull'intero documento",
     "Digest has not been calculated on the whole document"},  // 5229
    {"Busta crittografica non conforme alla normativa precedente l'11 giugno 2014",
     "Cryptographic envelope not compliant with the legislation prior to June 11, 2014"},                   // 5230
    {"Il file non contiene un certificato X.509", "File does not contain a X.509 certificate"},             // 5231
    {"Algoritmo SubFilter del PDF non ancora gestito", "PDF SubFilter algorithm not yet managed"},          // 5232
    {"Algoritmo di firma non ancora implementato", "Signature algorithm not yet implemented"},              // 5233
    {"Formato del DistributionPoint non gestito", "DistributionPoint with incorect format"},                // 5234
    {"Impossibile estrarre la marca temporale dal file TSD", "Failed to extract timestamp from TSD file"},  // 5235
    {"Impossibile aprire il certificato X.509", "Failed to open X.509 certificate"},                        // 5236
    {"Estensione authorityInfoAccess non presente", "authorityInfoAccess extension not present"},           // 5237
    {"Estensione cRLDistributionPoints non presente", "cRLDistributionPoints extension not present"},       // 5238
    {"Non e' presente un DistributionPoint per tutte le motivazioni",
     "Distribution point for all the reasons is not present"},              // 5239
    {"Certificato della CA non affidabile", "CA certificate not trusted"},  // 5240
    {"ArchiveTimeStamp precedente alla data di firma certificata",
     "ArchiveTimeStamp before the certified signature date"},  // 5241
    {"Data della risposta OCSP precedente alla data di firma certificata",
     "OCSP response date before the certified signature date"},                                                // 5242
    {"CRL scaduta prima della data di firma certificata", "CRL expired before the certified signature date"},  // 5243
    {"DocumentTimeStamp precedente alla data di firma certificata",
     "DocumentTimeStamp before the certified signature date"},                                                   // 5244
    {"Impossibile rimuovere dalla lista dei certificati", "Failed to remove from the list of CA certificates"},  // 5245
    {"Impossibile scaricare la TSL europea", "FAiled to download European TSL"},                                 // 5246
    {"Impossibile scaricare la TSL nazionale", "Failed to download country TSL"},                                // 5247
    {"Attributo ATSHashIndex non valido", "invalid ATSHashIndex attribute"},                                     // 5248
    {"Attributo ATSHashIndex con formato non corretto", "ATSHashIndex attribute with incorreect format"},        // 5249
    {"Impossibile aprire il certificato di attributo", "Failed to openn attribute certificate"},                 // 5250
    {"SigningCertificate e SigningCertificateV2 sono entrambi presenti",
     "SigningCertificate and SigningCertificateV2 are both present"},                             // 5251
    {"Attributo ATSHashIndex non presente", "ATSHashIndex attribute not present"},                // 5252
    {"Servizio OCSP: dati non trovati", "OCSP Service: no data"},                                 // 5253
    {"XMLSigningCertificate e' diventato obsoleto", "XMLSigningCertificate is become obsolete"},  // 5254
    {"Attributo SigningTime non presente", "SigningTime attribute not present"},                  // 5255
    {"L'attributo CMS SigningTime non dovrebbe essere presente",
     "SigningTime CMS attribute should not be present"},                          // 5256
    {"Impossibile controllare la TSL nazionale", "Failed to check country TSL"},  // 5257
};

constexpr Message kInformation[] = {
    {"disabilitato", "disabled"},                                                             // 4608
    {"abilitato", "enabled"},                                                                 // 4609
    {"scarica sempre dalla rete", "always download from the Net"},                            // 4610
    {"usa solo quelle locali", "use only local ones"},                                        // 4611
    {"scarica dalla rete una volta per sessione", "download from the Net once per session"},  // 4612
    {"scarica dalla rete quando scadute", "download from the Net when expired"},              // 4613
    {"OCSP uri %s", "OCSP uri %s"},                                                           // 4614
    {"Data risposta OCSP: %s", "OCSP response date: %s"},                                     // 4615
    {"File di input: %s", "Input File: %s"},                                                  // 4616
    {"Numero seriale: %s", "Serial number: %s"},                                              // 4617
    {"Firmatario:\n%s", "Signer:\n%s"},                                                       // 4618
    {"Emesso da:\n%s", "Issuer:\n%s"},                                                        // 4619
    {"Inizio verifica risposta OCSP", "Start verification of OCSP response"},                 // 4620
    {"Firma verificata", "Signature verified"},                                               // 4621
    {"Tutte le firme sono state verificate", "All signatures have been verified"},            // 4622
    {"Fine verifica risposta OCSP", "End verification of OCSP response"},                     // 4623
    {"File estratto: %s", "Extracted file: %s"},                                              // 4624
    {"Data di firma: %s", "Signature date: %s"},                                              // 4625
    {"Data CRL: %s", "CRL date: %s"},                                                         // 4626
    {"Numero seriale della marca temporale: %s", "Timestamp serial number: %s"},              // 4627
    {"Data della marca temporale: %s", "Timestamp date: %s"},                                 // 4628
    {"Data allineamento OCSP: %s", "OCSP alignment date: %s"},                                // 4629
    {"Marca temporale verificata", "TimeStamp verified"},                                     // 4630
    {"Controllo della firma digitale: abilitato", "Digital Signature check: enabled"},        // 4631
    {"Controllo della firma digitale: disabilitato", "Digital Signature check: disabled"},    // 4632
    {"Controllo della marca temporale: abilitato", "Timestamp check: enabled"},               // 4633
    {"Controllo della marca temporale: disabilitato", "Timestamp check: disabled"},           // 4634
    {"Verifica PKCS7 ricevuta da %s", "PKCS7 verification received from %s"},                 // 4635
    {"Verifica CMS ricevuta da %s", "CMS verification received from %s"},                     // 4636
    {"Inserita nuova CRL nella cache", "New CRL added to cache"},                             // 4637
    {"Aggiornata CRL nella cache", "CRL in the cache has been updated"},                      // 4638
    {"Indirizzo del proxy HTTP %s", "HTTP proxy address %s"},                                 // 4639
    {"Indirizzo del proxy SOCKS %s", "SOCKS proxy address %s"},                               // 4640
    {"non utilizzato", "not used"},                                                           // 4641
    {"Inizializzazione lista dei certificati di CA in corso",
     "Initialization of the list of CA certificates in progress"},                                         // 4642
    {"Caricamento lista dei certificati di CA in corso", "Loading list of CA certificates in progress"},   // 4643
    {"Caricamento cache delle CRL in corso", "Loading cache of CRLs in progress"},                         // 4644
    {"Aggiornamento cache delle CRL in corso", "Updating cache of CRLs in progress"},                      // 4645
    {"Aggiornamento cache delle CRL completato", "CRLs cache update completed"},                           // 4646
    {"Inizio attivita'", "Start of activity"},                                                             // 4647
    {"Fine attivita'", "End of activity"},                                                                 // 4648
    {"Servizio sospeso", "Service suspended"},                                                             // 4649
    {"Servizio riattivato", "Service reactivated"},                                                        // 4650
    {"In attesa sulla porta %d", "Waiting on port %d"},                                                    // 4651
    {"Connessione non consentita da %s", "Not allowed connection from %s"},                                // 4652
    {"Richiesta di stato ricevuta da %s", "Received check status from %s"},                                // 4653
    {"Caricamento lista dei certificati di CA completato", "Loading list of CA certificates completed"},   // 4654
    {"Caricamento cache delle CRL completato", "Loading list of CRLs cache completed"},                    // 4655
    {"Certificato di CA proveniente da TSL", "CA certificate coming from TSL"},                            // 4656
    {"Documento: %s", "Document: %s"},                                                                     // 4657
    {"CRL per i documenti firmati", "CRL for signed documents"},                                           // 4658
    {"CRL per le marche temporali", "CRL for timestamps"},                                                 // 4659
    {"PolicyID: %s", "PolicyID: %s"},                                                                      // 4660
    {"Qualified Certificate Statements: %s", "Qualified Certificate Statements: %s"},                      // 4661
    {"QcCompliance", "QcCompliance"},                                                                      // 4662
    {"QcSSCD", "QcSSCD"},                                                                                  // 4663
    {"QcLimitValue: %s", "QcLimitValue: %s"},                                                              // 4664
    {"QcRetensionPeriod: %s", "QcRetensionPeriod: %s"},                                                    // 4665
    {"Sesso: %s", "Gender: %s"},                                                                           // 4666
    {"Cittadinanza: %s", "Country of Citizenship: %s"},                                                    // 4667
    {"Paese di residenza: %s", "Country of Residence: %s"},                                                // 4668
    {"Luogo di nascita: %s", "Place of Birth: %s"},                                                        // 4669
    {"Data di nascita: %s", "Date of Birth: %s"},                                                          // 4670
    {"Controfirmatario: %s", "Countersigner: %s"},                                                         // 4671
    {"Servizio attivato", "Service activated"},                                                            // 4672
    {"Inizio recupero CRL via HTTPS", "Start CRL download via HTTPS"},                                     // 4673
    {"Fine recupero CRL via HTTPS", "End of CRL download via HTTPS"},                                      // 4674
    {"%s", "%s"},                                                                                          // 4675
    {"%s", "%s"},                                                                                          // 4676
    {"Certificati di CA presenti nella lista: %d", "CA certificates included into certificate list: %d"},  // 4677
    {"Inizializzazione lista dei certificati", "Initialization of the list of CA certificates"},           // 4678
    {"Inizializzazione completata", "Initialization completed"},                                           // 4679
    {"Fine esecuzione", "End of execution"},                                                               // 4680
    {"Inizializzazione lista dei certificati completata",
     "Initialization of the list of CA certificates completed"},                                              // 4681
    {"Inizio verifica firma", "Start signature verification"},                                                // 4682
    {"Fine verifica firma", "End of signature verification"},                                                 // 4683
    {"Inizio verifica marca temporale", "Start timestamp verification"},                                      // 4684
    {"Fine verifica marca temporale", "End of timestamp verification"},                                       // 4685
    {"Inizio copia su disco della cache delle CRL", "Start copying the CRLs cache to disk"},                  // 4686
    {"Fine copia su disco della cache delle CRL", "End of CRLs cache copy to disk"},                          // 4687
    {"Inizio copia su disco della lista dei CAcert", "Start copying the list of CA certificates to disk"},    // 4688
    {"Fine copia su disco della lista dei CAcert", "End of copy of the list of CA certificates disk"},        // 4689
    {"Inizio calcolo dei digest sul documento", "Start calculation of the digests on the document"},          // 4690
    {"Fine calcolo dei digest sul documento", "End of calculation of the digests on the document"},           // 4691
    {"Inizio accesso OCSP", "Start OCSP access"},                                                             // 4692
    {"Fine accesso OCSP: certificato non revocato", "End of OCSP access: certificate not revoked"},           // 4693
    {"Fine accesso OCSP: certificato revocato", "End of OCSP access: certificate revoked"},                   // 4694
    {"Aggiunta alla lista dei certificati completata", "Addition to the list of CA certificates completed"},  // 4695
    {"Inizio recupero CRL via LDAP", "Start CRL download via LDAP"},                                          // 4696
    {"Fine recupero CRL via LDAP", "End of CRL download via LDAP"},                                           // 4697
    {"Inizio recupero CRL via HTTP", "Start CRL download via HTTP"},                                          // 4698
    {"Fine recupero CRL via HTTP", "End of CRL download via HTTP"},                                           // 4699
    {"Inizio richiesta timestamp CRL via LDAP", "Start CRL timestamp request via LDAP"},                      // 4700
    {"Fine richiesta timestamp CRL via LDAP", "End of CRL timestamp request via LDAP"},                       // 4701
    {"Inizio richiesta timestamp CRL via HTTP", "Start CRL timestamp request via HTTP"},                      // 4702
    {"Fine richiesta timestamp CRL via HTTP", "End of CRL timestamp request via HTTP"},                       // 4703
    {"Inizio controllo CRL", "Start CRL check"},                                                              // 4704
    {"Fine controllo CRL", "End of CRL check"},                                                               // 4705
    {"Inizio controllo percorso CA", "Start CA path check"},                                                  // 4706
    {"Fine controllo percorso CA", "End of CA path check"},                                                   // 4707
    {"Inizio ricerca CRL", "Start search within CRL"},                                                        // 4708
    {"Fine ricerca CRL: certificato revocato ", "End of search within CRL: certificate revoked"},             // 4709
    {"Fine ricerca CRL: certificato non revocato ", "End of search within CRL: certificate not revoked"},     // 4710
    {"CRL presenti nella chache: %d", "CRLs in the cache: %d"},                                               // 4711
    {"CRL: %s", "CRL: %s"},                                                                                   // 4712
    {"Inizio ricerca cache delle CRL", "Start search for CRL"},                                               // 4713
    {"Fine ricerca cache delle CRL: CRL trovata", "End of search for CRL: CRL found"},                        // 4714
    {"Fine ricerca cache delle CRL: CRL non trovata", "End of search for CRL: CRL not found"},                // 4715
    {"Lock crlMutex", "Lock crlMutex"},                                                                       // 4716
    {"Unlock crlMutex", "Unlock crlMutex"},                                                                   // 4717
    {"Wait su semaforo %d", "Wait on semaphore %d"},                                                          // 4718
    {"Post su semaforo %d", "Post on semaphore %d"},                                                          // 4719
    {"Timestamp LDAP NULL", "LDAP timestamp NULL"},                                                           // 4720
    {"Timestamp HTTP NULL", "HTTP timestamp NULL"},                                                           // 4721
    {"Il controllo della CRL della CA non e' stato effettuato", "CA CRL check was not performed"},            // 4722
    {"Aggiunta alla lista dei certificati in corso", "Addition to the list of CA certificates in progress"},  // 4723
    {"Il controllo delLe CRL e' disabilitato", "CRL check disabled"},                                         // 4724
    {"Inizio richiesta timestamp CRL via HTTPS", "Start CRL timestamp request via HTTPS"},                    // 4725
    {"Fine richiesta timestamp CRL via HTTPS", "End of CRL timestamp request via HTTPS"},                     // 4726
    {"Inizio controllo attributo ATSHashIndex", "Start ATSHashIndex attribute check"},                        // 4727
    {"Fine controllo attributo ATSHashIndex", "End of ATSHashIndex attribute check"},                         // 4728
    {"Richiesta di scaricamento TSL ricevuta da %s", "TSL download request received from %s"},                // 4729
    {"TSL europea scaricata", "European TSL downloaded"},                                                     // 4730
    {"TSL [%s] scaricata", "TSL [%s] downloaded"},                                                            // 4731
};

constexpr NamePair kParameters[] = {
    {"controlloCACRL", "CACRLcheck"},
    {"controlloCRLPKCS7", "PKCS7CRLcheck"},
    {"controlloCRLTS", "TSCRLcheck"},
    {"controlloValidita", "validityCheck"},
    {"controlloSigningCertificateAttr", "signingCertificateAttrCheck"},
    {"controlloSHA1Agosto2010", "SHA1August2010Check"},
    {"controlloSHA1Luglio2011", "SHA1July2011Check"},
    {"controlloFirmeAnnidiate", "nestedSignaturesCheck"},
    {"verificaTS101903", "TS101903verification"},
    {"verificaEU", "EUverification"},
    {"controlloKeyUsageFirmatario", "signerKeyUsageCheck"},
    {"tipologiaFirma", "signatureType"},
    {"controlloCRL", "CRLcheck"},
};

constexpr NamePair kValues[] = {
    {"abilitato", "enabled"},
    {"disabilitato", "disabled"},
    {"debole", "weak"},
    {"forte", "strong"},
    {"appiattito", "plain"},
    {"annidato", "nested"},
    {"abilitata", "enabled"},
    {"disabilitata", "disabled"},
    {"firma digitale", "digital signature"},
    {"autenticazione", "authentication"},
    {"marcatura temporale", "timestamping"},
    {"Not available", "Not available"},
    {"Other", "Other"},
};

constexpr NamePair kCommandTexts[] = {
    {"Manca il nome del file", "File name missed"},
    {"Manca il country code", "Country code missed"},
    {"CorvaneServer non risponde", "No answer from CorvaneServer"},
    {"CorvaneServer e' attivo", "CorvaneServer is active"},
    {"La TSL NON e' aggiornata", "TSL is NOT up to date"},
    {"La TSL e' aggiornata", "TSL is up to date"},
};

static_assert(std::size(kErrors) == 138 && std::size(kInformation) == 124);

// Two cells a row, as the codes' owners index them: language 2 is the Italian cell of the next row.
const char* cell(std::span<const Message> table, std::size_t row, unsigned char language) {
  const std::size_t index = std::min(row * kLanguages + language, table.size() * kLanguages - 1);
  const Message& message = table[index / kLanguages];
  return index % kLanguages == 0 ? message.italian : message.english;
}

}  // namespace

const std::span<const Message> errorMessages = kErrors;
const std::span<const Message> infoMessages = kInformation;
const std::span<const NamePair> verificationParameters = kParameters;
const std::span<const NamePair> verificationValues = kValues;
const std::span<const NamePair> commandTexts = kCommandTexts;

const char* messageText(unsigned long code, unsigned char language) {
  if (code >= kErrorBase && code - kErrorBase < std::size(kErrors)) return cell(kErrors, code - kErrorBase, language);
  if (code >= kInfoBase && code - kInfoBase < std::size(kInformation)) {
    return cell(kInformation, code - kInfoBase, language);
  }
  return "";
}

}  // namespace keystrand

// toPrintable of a certificate and of its body. The words are Italian whatever the language of the messages: programs
// that show the report look for them.
#include <string>

#include "keystrand/pkix/Certificate.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

// Text handed out by the model, "" for an absent one.
std::string taken(owner<char*> text) {
  const std::unique_ptr<char[]> owned(text);
  return owned ? std::string(owned.get()) : std::string();
}

std::string versionLine(std::uint32_t version) {
  return version <= 2 ? "Versione: " + std::to_string(version + 1) + "\n" : "Versione: sconosciuta\n";
}

std::string nameLines(const Name* name) {
  return name != nullptr ? taken(name->toPrintable()) : std::string();
}

std::string timeText(const X500Time* time) {
  return time != nullptr ? taken(time->dateTimeLocal()) : std::string();
}

std::string algorithmLine(const AlgorithmIdentifier* algorithm) {
  const OID* oid = algorithm != nullptr ? algorithm->oidView() : nullptr;
  return "    " + (oid != nullptr ? oid->dotted() : std::string()) + "\n";
}

}  // namespace

owner<char*> CertificateInfo::toPrintable() const {
  const X500Time* notBefore = validity_ ? validity_->notBeforeView() : nullptr;
  const X500Time* notAfter = validity_ ? validity_->notAfterView() : nullptr;
  const std::uint32_t bits = subjectPublicKeyInfo_ ? subjectPublicKeyInfo_->keyBitLength() : 0;
  std::string text = versionLine(version_) + "\n";
  text += "N.ro seriale: " + serialNumber_.text(16) + "\n\n";
  text += "Rilasciato a: \n" + nameLines(subject_.get()) + "\n";
  text += "Emesso da: \n" + nameLines(issuer_.get()) + "\n";
  text += "Emesso il " + timeText(notBefore) + "\n\n";
  text += "Scade il " + timeText(notAfter) + "\n\n";
  text += "Chiave valida per l'algoritmo di firma: \n" + algorithmLine(signature_.get());
  text += "Lunghezza della chiave: " + std::to_string(bits) + " bits\n\n";
  return newText(text);
}

owner<char*> Certificate::toPrintable() const {
  return newText((info_ ? taken(info_->toPrintable()) : std::string()) + "Algoritmo di firma utilizzato: \n" +
                 algorithmLine(signatureAlgorithm_.get()));
}

}  // namespace keystrand

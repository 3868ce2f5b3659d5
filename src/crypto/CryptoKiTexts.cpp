// The words of PKCS #11 for people: return values, mechanisms, flags, states.
#include <p11-kit/pkcs11.h>

#include <span>
#include <string>
#include <string_view>

#include "keystrand/crypto/CryptoKi.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

struct Word {
  CK_ULONG value;
  std::string_view text;
};

constexpr Word kErrors[] = {
    {CKR_OK, "OK"},
    {CKR_CANCEL, "cancel"},
    {CKR_HOST_MEMORY, "errore di memoria su host"},
    {CKR_SLOT_ID_INVALID, "identificatore dello slot non valido"},
    {CKR_GENERAL_ERROR, "errore generico"},
    {CKR_FUNCTION_FAILED, "funzione fallita"},
    {CKR_ARGUMENTS_BAD, "argomenti non validi"},
    {CKR_NO_EVENT, "nessun evento"},
    {CKR_NEED_TO_CREATE_THREADS, "e' necessario creare threads"},
    {CKR_CANT_LOCK, "impossibile creare il lock"},
    {CKR_ATTRIBUTE_READ_ONLY, "attributo sola lettura"},
    {CKR_ATTRIBUTE_SENSITIVE, "attributo sensitivo"},
    {CKR_ATTRIBUTE_TYPE_INVALID, "tipo dell'attributo non valido"},
    {CKR_ATTRIBUTE_VALUE_INVALID, "valore dell'attributo non valido"},
    {CKR_DATA_INVALID, "dati non validi"},
    {CKR_DATA_LEN_RANGE, "lunghezza dei dati non valida"},
    {CKR_DEVICE_ERROR, "errore sul dispositivo"},
    {CKR_DEVICE_MEMORY, "errore di memoria sul dispositivo"},
    {CKR_DEVICE_REMOVED, "dispositivo rimosso"},
    {CKR_ENCRYPTED_DATA_INVALID, "dati criptati non validi"},
    {CKR_ENCRYPTED_DATA_LEN_RANGE, "lunghezza di dati criptati non valida"},
    {CKR_FUNCTION_CANCELED, "funzione  cancellata"},
    {CKR_FUNCTION_NOT_PARALLEL, "nessuna funzione parallella"},
    {CKR_FUNCTION_NOT_SUPPORTED, "funzione non supportata"},
    {CKR_KEY_HANDLE_INVALID, "handle della chiave non valida"},
    {CKR_KEY_SIZE_RANGE, "lunghezza della chiave non valida"},
    {CKR_KEY_TYPE_INCONSISTENT, "tipo della chiave inconsistente"},
    {CKR_KEY_NOT_NEEDED, "chiave non richiesta"},
    {CKR_KEY_CHANGED, "chiave cambiata"},
    {CKR_KEY_NEEDED, "chiave richiesta"},
    {CKR_KEY_INDIGESTIBLE, "impossibile fare il digest della chiave"},
    {CKR_KEY_FUNCTION_NOT_PERMITTED, "utilizzo della chiave non valido"},
    {CKR_KEY_NOT_WRAPPABLE, "impossibile fare il wrap della chiave"},
    {CKR_KEY_UNEXTRACTABLE, "chiave non estraibile"},
    {CKR_MECHANISM_INVALID, "meccanismo non valido"},
    {CKR_MECHANISM_PARAM_INVALID, "parametro del meccanismo non valido"},
    {CKR_OBJECT_HANDLE_INVALID, "handle dell'oggetto non valido"},
    {CKR_OPERATION_ACTIVE, "operazione attiva"},
    {CKR_OPERATION_NOT_INITIALIZED, "operazione non inizializzata"},
    {CKR_PIN_INCORRECT, "PIN non corretto"},
    {CKR_PIN_INVALID, "PIN non valido"},
    {CKR_PIN_LEN_RANGE, "lunghezza del PIN non valida"},
    {CKR_PIN_EXPIRED, "PIN scaduto"},
    {CKR_PIN_LOCKED, "PIN bloccato"},
    {CKR_SESSION_CLOSED, "sessione chiusa"},
    {CKR_SESSION_COUNT, "troppe sessioni aperte"},
    {CKR_SESSION_HANDLE_INVALID, "handle della sessione non valido"},
    {CKR_SESSION_PARALLEL_NOT_SUPPORTED, "sessione parallella non supportata"},
    {CKR_SESSION_READ_ONLY, "sessione a sola lettura"},
    {CKR_SESSION_EXISTS, "una sessione esiste gia'"},
    {CKR_SESSION_READ_ONLY_EXISTS, "una sessione a sola lettura esiste gia'"},
    {CKR_SESSION_READ_WRITE_SO_EXISTS, "una sessione di lettura/scrittuta esiste gia'"},
    {CKR_SIGNATURE_INVALID, "firma non valida"},
    {CKR_SIGNATURE_LEN_RANGE, "lunghezza della firma non valida"},
    {CKR_TEMPLATE_INCOMPLETE, "template non completo"},
    {CKR_TEMPLATE_INCONSISTENT, "template inconsistente"},
    {CKR_TOKEN_NOT_PRESENT, "token non presente"},
    {CKR_TOKEN_NOT_RECOGNIZED, "token non riconosciuto"},
    {CKR_TOKEN_WRITE_PROTECTED, "token protetto in scrittura"},
    {CKR_UNWRAPPING_KEY_HANDLE_INVALID, "handle della chiave di unwrapping non valida"},
    {CKR_UNWRAPPING_KEY_SIZE_RANGE, "lunghezza della chiave di unwrapping non vaida"},
    {CKR_UNWRAPPING_KEY_TYPE_INCONSISTENT, "tipo della chiave di unwrapping inconsistente"},
    {CKR_USER_ALREADY_LOGGED_IN, "utente gia' loggato"},
    {CKR_USER_NOT_LOGGED_IN, "utente non loggato"},
    {CKR_USER_PIN_NOT_INITIALIZED, "PIN non inizializzato"},
    {CKR_USER_TYPE_INVALID, "tipo dell'utente non valido"},
    {CKR_USER_ANOTHER_ALREADY_LOGGED_IN, "altro utente gia' loggato"},
    {CKR_USER_TOO_MANY_TYPES, "troppi tipi per l'utente"},
    {CKR_WRAPPED_KEY_INVALID, "chiave criptata non valida"},
    {CKR_WRAPPED_KEY_LEN_RANGE, "lunghezza della chiave criptata non valida"},
    {CKR_WRAPPING_KEY_HANDLE_INVALID, "handle della chiave di wrapping non valido"},
    {CKR_WRAPPING_KEY_SIZE_RANGE, "lunghezza della chiave di wrapping non valida"},
    {CKR_WRAPPING_KEY_TYPE_INCONSISTENT, "tipo della chiave di wrapping inconsistente"},
    {CKR_RANDOM_SEED_NOT_SUPPORTED, "inizializzazione del generatore random non supportata"},
    {CKR_RANDOM_NO_RNG, "generatore random non disponibile"},
    {CKR_BUFFER_TOO_SMALL, "buffer troppo piccolo"},
    {CKR_SAVED_STATE_INVALID, "stato salvato non valido"},
    {CKR_INFORMATION_SENSITIVE, "informazione sensitiva"},
    {CKR_STATE_UNSAVEABLE, "stato non salvabile"},
    {CKR_CRYPTOKI_NOT_INITIALIZED, "cryptoki non inizializzato"},
    {CKR_CRYPTOKI_ALREADY_INITIALIZED, "cryptoki gia' inizializzato"},
    {CKR_MUTEX_BAD, "mutex non valido"},
    {CKR_MUTEX_NOT_LOCKED, "mutex non bloccato"},
};

constexpr std::string_view kVendorError = "definito dal produttore";
constexpr std::string_view kUnknownError = "errore sconosciuto";

constexpr Word kTokenFlags[] = {
    {CKF_RNG, "RNG"},
    {CKF_WRITE_PROTECTED, "WRITE_PROTECTED"},
    {CKF_LOGIN_REQUIRED, "LOGIN_REQUIRED"},
    {CKF_USER_PIN_INITIALIZED, "USER_PIN_INITIALIZED"},
    {CKF_RESTORE_KEY_NOT_NEEDED, "RESTORE_KEY_NOT_NEEDED"},
    {CKF_CLOCK_ON_TOKEN, "CLOCK_ON_TOKEN"},
    {CKF_PROTECTED_AUTHENTICATION_PATH, "PROTECTED_AUTHENTICATION_PATH"},
    {CKF_DUAL_CRYPTO_OPERATIONS, "DUAL_CRYPTO_OPERATIONS"},
    {CKF_TOKEN_INITIALIZED, "TOKEN_INITIALIZED"},
    {CKF_SECONDARY_AUTHENTICATION, "SECONDARY_AUTHENTICATION"},
    {CKF_USER_PIN_COUNT_LOW, "USER_PIN_COUNT_LOW"},
    {CKF_USER_PIN_FINAL_TRY, "USER_PIN_FINAL_TRY"},
    {CKF_USER_PIN_LOCKED, "USER_PIN_LOCKED"},
    {CKF_USER_PIN_TO_BE_CHANGED, "USER_PIN_TO_BE_CHANGED"},
    {CKF_SO_PIN_COUNT_LOW, "SO_PIN_COUNT_LOW"},
    {CKF_SO_PIN_FINAL_TRY, "SO_PIN_FINAL_TRY"},
    {CKF_SO_PIN_LOCKED, "SO_PIN_LOCKED"},
    {CKF_SO_PIN_TO_BE_CHANGED, "SO_PIN_TO_BE_CHANGED"},
};

constexpr Word kMechanismFlags[] = {
    {CKF_HW, "HW"},
    {CKF_ENCRYPT, "ENCRYPT"},
    {CKF_DECRYPT, "DECRYPT"},
    {CKF_DIGEST, "DIGEST"},
    {CKF_SIGN, "SIGN"},
    {CKF_SIGN_RECOVER, "SIGN_RECOVER"},
    {CKF_VERIFY, "VERIFY"},
    {CKF_VERIFY_RECOVER, "VERIFY_RECOVER"},
    {CKF_GENERATE, "GENERATE"},
    {CKF_GENERATE_KEY_PAIR, "GENERATE_KEY_PAIR"},
    {CKF_WRAP, "WRAP"},
    {CKF_UNWRAP, "UNWRAP"},
    {CKF_DERIVE, "DERIVE"},
};

constexpr Word kSlotFlags[] = {
    {CKF_TOKEN_PRESENT, "TOKEN_PRESENT"},
    {CKF_REMOVABLE_DEVICE, "REMOVABLE_DEVICE"},
    {CKF_HW_SLOT, "HW_SLOT"},
};

constexpr Word kStates[] = {
    {CKS_RO_PUBLIC_SESSION, "RO_PUBLIC_SESSION "}, {CKS_RO_USER_FUNCTIONS, "RO_USER_FUNCTIONS "},
    {CKS_RW_PUBLIC_SESSION, "RW_PUBLIC_SESSION "}, {CKS_RW_USER_FUNCTIONS, "RW_USER_FUNCTIONS "},
    {CKS_RW_SO_FUNCTIONS, "RW_SO_FUNCTIONS "},
};

std::string_view wordFor(CK_ULONG value, std::span<const Word> words, std::string_view otherwise) {
  for (const Word& word : words) {
    if (word.value == value) return word.text;
  }
  return otherwise;
}

owner<char*> newFlagsText(CK_FLAGS flags, std::span<const Word> words) {
  std::string text;
  for (const Word& word : words) {
    if ((flags & word.value) != 0) text.append(word.text).push_back(' ');
  }
  return newText(text);
}

}  // namespace

owner<char*> CryptoKi::errorText(Result result) {
  return newText(wordFor(result, kErrors, (result & CKR_VENDOR_DEFINED) != 0 ? kVendorError : kUnknownError));
}

owner<char*> CryptoKi::tokenFlagsText(const _CK_TOKEN_INFO& info) {
  return newFlagsText(info.flags, kTokenFlags);
}

owner<char*> CryptoKi::mechanismFlagsText(const _CK_MECHANISM_INFO& info) {
  return newFlagsText(info.flags, kMechanismFlags);
}

owner<char*> CryptoKi::slotFlagsText(const _CK_SLOT_INFO& info) {
  return newFlagsText(info.flags, kSlotFlags);
}

owner<char*> CryptoKi::sessionStateText(unsigned long state) {
  return newText(wordFor(state, kStates, ""));
}

}  // namespace keystrand

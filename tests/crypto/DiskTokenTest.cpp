// Tokens that are kept in files: who may do what, what survives, and what damage does.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/pkcs12.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>

#include "TokenObjects.h"
#include "crypto/token/DiskToken.h"
#include "crypto/token/ObjectRecord.h"
#include "support/TempFolder.h"

namespace keystrand::test {
namespace {

namespace fs = std::filesystem;

const std::string kLabel = "mine" + std::string(28, ' ');
const std::string kOfficer = "87654321";
const std::string kUser = "12345";

const unsigned char* octets(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

// The tokens lie in a folder of the test's own; the module is made when a test first asks for it.
class DiskTokens : public testing::Test {
 protected:
  DiskTokens() { setenv("PKCS11SLOT", (folder_ / "token").c_str(), 1); }

  static CK_RV initialize(CK_SLOT_ID slot, const std::string& pin) {
    CryptoKi ki;
    return ki.initToken(slot, octets(pin), pin.size(), octets(kLabel));
  }
  static CK_RV login(Session& open, CK_USER_TYPE user, const std::string& pin) {
    return open.ki.login(open.handle, user, octets(pin), pin.size());
  }
  static CK_RV setUser(Session& open, const std::string& pin) {
    return open.ki.initPIN(open.handle, octets(pin), pin.size());
  }
  // A token in slot 1 that has a user.
  void prepare() {
    ASSERT_EQ(initialize(1, kOfficer), CKR_OK);
    Session open(kReadWrite, 1);
    ASSERT_EQ(login(open, CKU_SO, kOfficer), CKR_OK);
    ASSERT_EQ(setUser(open, kUser), CKR_OK);
  }
  static CK_STATE state(Session& open) {
    CK_SESSION_INFO info{};
    EXPECT_EQ(open.ki.getSessionInfo(open.handle, &info), CKR_OK);
    return info.state;
  }
  [[nodiscard]] fs::path file() const { return folder_ / "token01"; }

  TempFolder folder_;
};

Template kept(Template values, bool isPrivate = false) {
  return with(with(std::move(values), flag(CKA_TOKEN, true)), flag(CKA_PRIVATE, isPrivate));
}
Template secret(const ByteString& value) {
  return secretKey(CKK_GENERIC_SECRET, value);
}
Template labelled(const char* label) {
  return {{CKA_LABEL, {label, label + std::string_view(label).size()}}};
}
// As it stands in the file when it is public.
ByteString recordOf(const Template& values) {
  const auto word = [](std::size_t n) {
    return ByteString{0, 0, static_cast<unsigned char>(n >> 8), static_cast<unsigned char>(n)};
  };
  ByteString record;
  for (const Value& value : values) record = record + word(value.type) + word(value.octets.size()) + value.octets;
  return record;
}

}  // namespace

TEST_F(DiskTokens, HaveTheirHeadInTheFile) {
  CryptoKi ki;
  CK_ULONG count = 0;
  ASSERT_EQ(ki.getSlotList(CK_TRUE, nullptr, &count), CKR_OK);
  EXPECT_EQ(count, 5U);
  CK_TOKEN_INFO info{};
  ASSERT_EQ(ki.getTokenInfo(4, &info), CKR_OK);
  EXPECT_EQ(info.flags, CKF_RNG);
  CK_SESSION_HANDLE session = 0;
  EXPECT_EQ(ki.openSession(4, kReadWrite, nullptr, nullptr, &session), CKR_TOKEN_NOT_RECOGNIZED);
  EXPECT_EQ(ki.getTokenInfo(5, &info), CKR_SLOT_ID_INVALID);

  EXPECT_EQ(initialize(5, kOfficer), CKR_SLOT_ID_INVALID);
  EXPECT_EQ(initialize(0, kOfficer), CKR_FUNCTION_NOT_SUPPORTED) << "the virtual token stays as it is";
  EXPECT_EQ(initialize(1, std::string("123\0005", 5)), CKR_ARGUMENTS_BAD);
  EXPECT_EQ(ki.initToken(1, octets(kOfficer), 8, nullptr), CKR_ARGUMENTS_BAD);
  EXPECT_EQ(initialize(1, "1234"), CKR_PIN_LEN_RANGE);
  EXPECT_EQ(initialize(1, "123456789"), CKR_PIN_LEN_RANGE);
  EXPECT_FALSE(fs::exists(file()));
  ASSERT_EQ(initialize(1, kOfficer), CKR_OK);
  EXPECT_EQ(initialize(1, "another"), CKR_PIN_INCORRECT);
  EXPECT_EQ(initialize(1, kOfficer), CKR_OK);
  ASSERT_EQ(ki.getTokenInfo(1, &info), CKR_OK);
  EXPECT_EQ(info.flags, 1029U);
  EXPECT_EQ(std::string(info.model, info.model + 16), "Disk Token      ");
  EXPECT_EQ(info.ulMaxPinLen, 8U);

  const ByteString bytes = readFile(file());
  ASSERT_EQ(bytes.size(), TokenImage::kShortestFile);
  EXPECT_EQ(fs::status(file()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  const std::string head(bytes.begin(), bytes.begin() + 160);
  EXPECT_EQ(head.substr(0, 96),
            kLabel + "Halvorn S.p.A." + std::string(18, ' ') + "Disk Token      7305" + std::string(12, ' '));
  EXPECT_EQ(head.substr(96, 4), std::string("\0\0\x04\x05", 4));
  EXPECT_EQ(head.substr(116), std::string(44, ' '));
  EXPECT_EQ(slice(bytes, 160, 20), digestOf("SHA1", slice(bytes, 0, 160)));
  Session open(kReadWrite, 1);
  EXPECT_EQ(initialize(1, kOfficer), CKR_SESSION_EXISTS);
  EXPECT_EQ(initialize(2, kOfficer), CKR_OK) << "another slot";
}

TEST_F(DiskTokens, KnowTheirUsers) {
  ASSERT_EQ(initialize(1, kOfficer), CKR_OK);
  Session open(kReadWrite, 1);
  CK_SESSION_HANDLE other = 0;
  EXPECT_EQ(state(open), CKS_RW_PUBLIC_SESSION);
  EXPECT_EQ(open.ki.logout(open.handle), CKR_USER_NOT_LOGGED_IN);
  EXPECT_EQ(login(open, CKU_USER, kUser), CKR_USER_PIN_NOT_INITIALIZED);
  EXPECT_EQ(login(open, 7, kUser), CKR_USER_TYPE_INVALID);
  EXPECT_EQ(login(open, CKU_SO, "wrong"), CKR_PIN_INCORRECT);
  EXPECT_EQ(setUser(open, kUser), CKR_USER_NOT_LOGGED_IN);
  ASSERT_EQ(open.ki.openSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &other), CKR_OK);
  EXPECT_EQ(login(open, CKU_SO, kOfficer), CKR_SESSION_READ_ONLY_EXISTS);
  ASSERT_EQ(open.ki.closeSession(other), CKR_OK);
  ASSERT_EQ(login(open, CKU_SO, kOfficer), CKR_OK);
  EXPECT_EQ(state(open), CKS_RW_SO_FUNCTIONS);
  for (const CK_FLAGS flags : {kReadWrite, CK_FLAGS{CKF_SERIAL_SESSION}}) {
    EXPECT_EQ(open.ki.openSession(1, flags, nullptr, nullptr, &other), CKR_SESSION_READ_WRITE_SO_EXISTS);
  }
  EXPECT_EQ(open.ki.openSession(0, kReadWrite, nullptr, nullptr, &other), CKR_OK) << "on another slot";
  EXPECT_EQ(open.ki.closeSession(other), CKR_OK);
  CK_OBJECT_HANDLE object = 0;
  EXPECT_EQ(open.create(with(note(), flag(CKA_PRIVATE, true)), &object), CKR_USER_NOT_LOGGED_IN);
  EXPECT_EQ(setUser(open, "1234"), CKR_PIN_LEN_RANGE);
  ASSERT_EQ(setUser(open, kUser), CKR_OK);
  CK_TOKEN_INFO info{};
  ASSERT_EQ(open.ki.getTokenInfo(1, &info), CKR_OK);
  EXPECT_EQ(info.flags, 1029U | CKF_USER_PIN_INITIALIZED);
  ASSERT_EQ(open.ki.logout(open.handle), CKR_OK);

  EXPECT_EQ(login(open, CKU_USER, kOfficer), CKR_PIN_INCORRECT);
  ASSERT_EQ(login(open, CKU_USER, kUser), CKR_OK);
  EXPECT_EQ(login(open, CKU_USER, kUser), CKR_USER_ALREADY_LOGGED_IN);
  EXPECT_EQ(login(open, CKU_SO, kOfficer), CKR_USER_ANOTHER_ALREADY_LOGGED_IN);
  ASSERT_EQ(open.ki.openSession(1, CKF_SERIAL_SESSION, nullptr, nullptr, &other), CKR_OK);
  CK_SESSION_INFO session{};
  ASSERT_EQ(open.ki.getSessionInfo(other, &session), CKR_OK);
  EXPECT_EQ(session.state, CKS_RO_USER_FUNCTIONS);
  const auto change = [&](const std::string& former, const std::string& fresh, CK_SESSION_HANDLE by) {
    return open.ki.setPIN(by, octets(former), former.size(), octets(fresh), fresh.size());
  };
  EXPECT_EQ(change(kUser, "54321", other), CKR_SESSION_READ_ONLY);
  EXPECT_EQ(change("wrong", "54321", open.handle), CKR_PIN_INCORRECT);
  EXPECT_EQ(change(kUser, "5432", open.handle), CKR_PIN_LEN_RANGE);
  EXPECT_EQ(change(kUser, std::string("5432\0", 5), open.handle), CKR_ARGUMENTS_BAD);
  EXPECT_EQ(change(kUser, "54321", open.handle), CKR_OK);
  EXPECT_EQ(open.ki.closeAllSessions(1), CKR_OK);

  Session again(kReadWrite, 1);
  EXPECT_EQ(state(again), CKS_RW_PUBLIC_SESSION) << "the last session took the login along";
  EXPECT_EQ(login(again, CKU_USER, kUser), CKR_PIN_INCORRECT);
  EXPECT_EQ(login(again, CKU_USER, "54321"), CKR_OK);
}

TEST_F(DiskTokens, KeepWhatIsTheirs) {
  prepare();
  const ByteString value = {'h', 'i', 'd', 'd', 'e', 'n', '!', '!'};
  {
    Session open(kReadWrite, 1);
    open.created(kept(with(note(), {CKA_LABEL, {'p', 'u', 'b'}})));
    CK_OBJECT_HANDLE object = 0;
    EXPECT_EQ(open.create(kept(secret(value), true), &object), CKR_USER_NOT_LOGGED_IN);
    ASSERT_EQ(login(open, CKU_USER, kUser), CKR_OK);
    EXPECT_EQ(open.create(kept(secret(value), false), &object), CKR_TEMPLATE_INCONSISTENT) << "it would lie open";
    const CK_OBJECT_HANDLE key =
        open.created(with(with(secret(value), flag(CKA_TOKEN, true)), {CKA_LABEL, {'k', 'e', 'y'}}));
    EXPECT_EQ(open.found({flag(CKA_PRIVATE, true)}), std::vector{key}) << "private where nothing is said";
    open.created(kept(with(note(), {CKA_LABEL, {'d', 'a', 't'}}), true));
    open.created(with(note(), flag(CKA_PRIVATE, true)));
    EXPECT_EQ(open.set(key, {{CKA_ID, {7}}, flag(CKA_SENSITIVE, true)}), CKR_OK);
    EXPECT_EQ(open.found({}).size(), 4U);
    Session elsewhere;
    EXPECT_TRUE(elsewhere.found({}).empty()) << "another slot";
    EXPECT_EQ(elsewhere.ki.destroyObject(elsewhere.handle, key), CKR_OBJECT_HANDLE_INVALID);
    ASSERT_EQ(open.ki.logout(open.handle), CKR_OK);
    EXPECT_EQ(open.found({}).size(), 1U);
    EXPECT_EQ(open.ki.closeSession(open.handle), CKR_OK);
  }
  const ByteString bytes = readFile(file());
  EXPECT_TRUE(std::ranges::search(bytes, value).empty()) << "the secret lies open in the file";

  Session open(kReadWrite, 1);
  EXPECT_EQ(open.found({}).size(), 1U);
  EXPECT_EQ(open.found(labelled("pub")).size(), 1U);
  EXPECT_EQ(login(open, CKU_USER, "wrong"), CKR_PIN_INCORRECT);
  EXPECT_TRUE(open.found(labelled("key")).empty());
  ASSERT_EQ(login(open, CKU_USER, kUser), CKR_OK);
  const auto keys = open.found(with(labelled("key"), {CKA_ID, {7}}));
  ASSERT_EQ(keys.size(), 1U);
  ASSERT_EQ(open.begin(&CryptoKi::signInit, CKM_SHA_1_HMAC, keys[0]), CKR_OK);
  const ByteString mac = open.call(&CryptoKi::sign, value).octets;
  ASSERT_EQ(open.begin(&CryptoKi::verifyInit, CKM_SHA_1_HMAC, open.created(secret(value))), CKR_OK);
  EXPECT_EQ(open.verify(value, mac), CKR_OK) << "another value came back";
  ASSERT_EQ(open.ki.destroyObject(open.handle, open.found(labelled("dat")).at(0)), CKR_OK);
  CK_OBJECT_HANDLE object = 0;
  for (int i = 2; i < 40; ++i) open.created(kept(note()));
  EXPECT_EQ(open.create(kept(note()), &object), CKR_DEVICE_MEMORY);
  EXPECT_EQ(open.create(kept({number(CKA_CLASS, CKO_DATA), {CKA_VALUE, ByteString(70000)}}), &object),
            CKR_DEVICE_MEMORY);
  EXPECT_EQ(open.create({number(CKA_CLASS, CKO_DATA), {CKA_VALUE, ByteString(70000)}}, &object), CKR_OK);
  EXPECT_EQ(open.ki.closeAllSessions(1), CKR_OK);

  Session readOnly(CKF_SERIAL_SESSION, 1);
  EXPECT_EQ(readOnly.found({}).size(), 39U);
  EXPECT_TRUE(readOnly.found(labelled("dat")).empty());
  EXPECT_EQ(readOnly.create(kept(note()), &object), CKR_SESSION_READ_ONLY);
  ASSERT_EQ(readOnly.ki.closeSession(readOnly.handle), CKR_OK);
  ASSERT_EQ(initialize(1, kOfficer), CKR_OK);
  Session fresh(kReadWrite, 1);
  EXPECT_TRUE(fresh.found({}).empty());
  EXPECT_EQ(login(fresh, CKU_USER, kUser), CKR_USER_PIN_NOT_INITIALIZED);
}

// What the token makes itself has attributes that no template may give.
TEST_F(DiskTokens, KeepWhatTheyMake) {
  prepare();
  {
    Session open(kReadWrite, 1);
    ASSERT_EQ(login(open, CKU_USER, kUser), CKR_OK);
    const Template kept = {flag(CKA_TOKEN, true), flag(CKA_PRIVATE, true)};
    CK_OBJECT_HANDLE key = 0;
    CK_OBJECT_HANDLE publicKey = 0;
    for (const auto& [mechanism, size] : {std::pair{CKM_RSA_PKCS_KEY_PAIR_GEN, number(CKA_MODULUS_BITS, 1024)},
                                          {CKM_EC_KEY_PAIR_GEN, Value{CKA_EC_PARAMS, fromHex("06082A8648CE3D030107")}}})
      EXPECT_EQ(open.generatePair(mechanism, {size, flag(CKA_TOKEN, true)}, kept, &publicKey, &key), CKR_OK);
    for (const CK_MECHANISM_TYPE mechanism : {CKM_DES_KEY_GEN, CKM_DES2_KEY_GEN, CKM_DES3_KEY_GEN})
      EXPECT_EQ(open.generate(mechanism, kept, &key), CKR_OK);
    EXPECT_EQ(open.ki.closeSession(open.handle), CKR_OK);
  }
  Session again(kReadWrite, 1);
  EXPECT_EQ(again.found({}).size(), 2U);
  ASSERT_EQ(login(again, CKU_USER, kUser), CKR_OK);
  EXPECT_EQ(again.found({flag(CKA_LOCAL, true)}).size(), 7U);
}

// The limit on the size of files stands for a disk that is full, or a process that ends, in the middle of a write.
TEST_F(DiskTokens, LoseNothingWhenAWriteIsCutOff) {
  prepare();
  Session open(kReadWrite, 1);
  ASSERT_EQ(login(open, CKU_USER, kUser), CKR_OK);
  const CK_OBJECT_HANDLE first = open.created(kept(with(note(), {CKA_LABEL, {'1'}}), true));
  const ByteString before = readFile(file());
  std::signal(SIGXFSZ, SIG_IGN);
  struct rlimit usual {};
  getrlimit(RLIMIT_FSIZE, &usual);
  CK_OBJECT_HANDLE object = 0;
  rlim_t n = 0;
  for (CK_RV result = CKR_DEVICE_ERROR; result != CKR_OK; ++n) {
    struct rlimit tight = usual;
    tight.rlim_cur = n;
    setrlimit(RLIMIT_FSIZE, &tight);
    result = n % 3 == 0   ? open.create(kept(note(), true), &object)
             : n % 3 == 1 ? open.set(first, {{CKA_LABEL, ByteString(200, 'x')}})
                          : open.ki.destroyObject(open.handle, first);
    setrlimit(RLIMIT_FSIZE, &usual);
    if (result == CKR_OK) break;
    ASSERT_EQ(result, CKR_DEVICE_ERROR) << n;
    ASSERT_EQ(readFile(file()), before) << n;
    ASSERT_FALSE(fs::exists(file().string() + ".new")) << n;
    ASSERT_EQ(open.found({}).size(), 1U) << n;
    ASSERT_EQ(open.found(labelled("1")).size(), 1U) << n;
  }
  EXPECT_GE(n, TokenImage::kShortestFile);
  EXPECT_EQ(open.ki.closeAllSessions(1), CKR_OK);

  // A process that ended there leaves its half behind.
  writeFile(file().string() + ".new", slice(before, 0, 700));
  Session again(kReadWrite, 1);
  again.created(kept(note()));
  EXPECT_FALSE(fs::exists(file().string() + ".new"));
}

TEST_F(DiskTokens, RefuseADamagedFile) {
  prepare();
  CryptoKi ki;
  {
    Session open(kReadWrite, 1);
    open.created(kept(note()));
    ASSERT_EQ(ki.closeSession(open.handle), CKR_OK);
  }
  const ByteString good = readFile(file());
  CK_SESSION_HANDLE session = 0;
  CK_TOKEN_INFO info{};
  const auto refuses = [&](const ByteString& bytes) {
    writeFile(file(), bytes);
    const bool refused = ki.openSession(1, kReadWrite, nullptr, nullptr, &session) == CKR_TOKEN_NOT_RECOGNIZED &&
                         ki.getTokenInfo(1, &info) == CKR_TOKEN_NOT_RECOGNIZED;
    return refused && readFile(file()) == bytes;
  };
  for (std::size_t n = 0; n < good.size(); ++n) {
    ASSERT_TRUE(refuses(withBitFlipped(good, 8 * n + n % 8))) << "octet " << n << " from the end";
    ASSERT_TRUE(refuses(slice(good, 0, n))) << "cut at " << n;
  }
  EXPECT_TRUE(refuses(good + ByteString{0}));
  EXPECT_TRUE(refuses(ByteString(TokenImage::kLongestFile + 1)));
  EXPECT_EQ(initialize(1, kOfficer), CKR_TOKEN_NOT_RECOGNIZED) << "what may be saved by hand is not overwritten";
  writeFile(file(), good);
  EXPECT_EQ(ki.openSession(1, kReadWrite, nullptr, nullptr, &session), CKR_OK);
}

// Whoever can write the file can compute its digests, but knows no PIN.
TEST_F(DiskTokens, FindWhatWasForged) {
  prepare();
  {
    Session open(kReadWrite, 1);
    ASSERT_EQ(login(open, CKU_USER, kUser), CKR_OK);
    open.created(kept(secret({1}), true));
    open.created(kept(secret({2}), true));
    open.created(kept(note()));
  }
  const ByteString good = readFile(file());
  using Row = std::tuple<const char*, std::function<void(TokenImage&)>, CK_RV, CK_RV>;
  const ByteString half = {0, 0, 0, 0, 0, 0, 0, 8, 3};
  const Template certificate = {number(CKA_CLASS, CKO_CERTIFICATE),
                                number(CKA_CERTIFICATE_TYPE, CKC_X_509),
                                {CKA_SUBJECT, {0x30, 0}},
                                {CKA_VALUE, {0x30, 0}}};
  const auto last = [](const Template& values) {
    return [record = recordOf(values)](TokenImage& image) { image.records[2].octets = record; };
  };
  for (const auto& [name, forge, opened, entered] :
       {Row{"nothing", [](TokenImage&) {}, CKR_OK, CKR_OK},
        Row{"private objects in each other's place",
            [](TokenImage& image) { image.records[0].octets.swap(image.records[1].octets); }, CKR_OK, CKR_DEVICE_ERROR},
        Row{"a private object changed", [](TokenImage& image) { image.records[1].octets[20] ^= 1; }, CKR_OK,
            CKR_DEVICE_ERROR},
        Row{"a private object of no length", [](TokenImage& image) { image.records[1].octets.clear(); }, CKR_OK,
            CKR_DEVICE_ERROR},
        Row{"a private object called public", [](TokenImage& image) { image.records[0].isPrivate = false; },
            CKR_DEVICE_ERROR, CKR_OK},
        Row{"half an object", [&](TokenImage& image) { image.records[2].octets = half; }, CKR_DEVICE_ERROR, CKR_OK},
        Row{"no object", [](TokenImage& image) { image.records[2].octets.clear(); }, CKR_DEVICE_ERROR, CKR_OK},
        Row{"a certificate", last(certificate), CKR_OK, CKR_OK},
        Row{"one that calls itself trusted", last(with(certificate, flag(CKA_TRUSTED, true))), CKR_DEVICE_ERROR,
            CKR_OK},
        Row{"a secret key in the clear", last(secret({3})), CKR_DEVICE_ERROR, CKR_OK},
        Row{"less stretching", [](TokenImage& image) { image.iterations = 1; }, CKR_OK, CKR_PIN_INCORRECT},
        Row{"the officer's key for the user", [](TokenImage& image) { image.user = image.officer; }, CKR_OK,
            CKR_PIN_INCORRECT},
        Row{"another token", [](TokenImage& image) { image.id[0] ^= 1; }, CKR_OK, CKR_PIN_INCORRECT}}) {
    auto image = TokenImage::decode(good);
    ASSERT_TRUE(image.has_value());
    forge(*image);
    writeFile(file(), image->encode());
    Session open;
    ASSERT_EQ(open.ki.openSession(1, kReadWrite, nullptr, nullptr, &open.handle), opened) << name;
    if (opened == CKR_OK) {
      EXPECT_EQ(login(open, CKU_USER, kUser), entered) << name;
    }
  }
}

// Two processes hold the same token open; each has a DiskToken of its own, as here.
TEST_F(DiskTokens, AreSharedByProcesses) {
  prepare();
  Session open(kReadWrite, 1);
  DiskToken other(file().string());
  ASSERT_EQ(other.open(), CKR_OK);
  const CK_OBJECT_HANDLE ours = open.created(kept(note()));
  Template theirs = kept(with(note(), {CKA_LABEL, {'2'}}));
  const auto attributes = attributesOf(theirs);
  std::shared_ptr<PKCS11Storage> object;
  ASSERT_EQ(PKCS11Storage::make(attributes, object), CKR_OK);
  std::uint64_t stored = 0;
  ASSERT_EQ(other.store(*object, stored), CKR_OK);
  open.created(kept(note()));
  ASSERT_EQ(login(open, CKU_USER, kUser), CKR_OK);
  ASSERT_EQ(other.login(CKU_USER, ByteString(octets(kUser), octets(kUser) + kUser.size())), CKR_OK);
  const CK_OBJECT_HANDLE key = open.created(kept(secret({1}), true));
  Template closed = {flag(CKA_EXTRACTABLE, false)};
  ASSERT_EQ(other.change(stored + 2, attributesOf(closed), object), CKR_OK);
  EXPECT_EQ(open.set(key, {flag(CKA_EXTRACTABLE, true)}), CKR_ATTRIBUTE_READ_ONLY) << "it was closed off meanwhile";
  EXPECT_EQ(open.set(key, labelled("key")), CKR_OK);
  EXPECT_EQ(open.attribute(key, CKA_EXTRACTABLE).octets, ByteString{0}) << "and stays so";
  ASSERT_EQ(other.remove(1), CKR_OK);
  EXPECT_EQ(open.set(ours, labelled("late")), CKR_OBJECT_HANDLE_INVALID);
  EXPECT_EQ(open.ki.destroyObject(open.handle, ours), CKR_OK) << "it is gone, as was wanted";
  ASSERT_EQ(open.ki.closeSession(open.handle), CKR_OK);
  Session again(kReadWrite, 1);
  EXPECT_EQ(again.found({}).size(), 2U);
  EXPECT_EQ(again.found(labelled("2")).size(), 1U);
  ASSERT_EQ(other.initialize(ByteString(octets(kOfficer), octets(kOfficer) + 8),
                             std::span<const unsigned char, 32>(octets(kLabel), 32)),
            CKR_OK);
  CK_OBJECT_HANDLE late = 0;
  EXPECT_EQ(again.create(kept(note()), &late), CKR_DEVICE_REMOVED);
  EXPECT_EQ(login(again, CKU_USER, kUser), CKR_DEVICE_REMOVED);
}

TEST(TokenKeys, ComeOutOfThePINAsWritten) {
  const ByteString serial = {'7', '3', '0', '5', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
  const ByteString salt(16, 0x5C);
  const auto fixed = [](const ByteString& value) { return std::span<const unsigned char, 16>(value.data(), 16); };
  ByteString pin = {'1', '2', '3', '4', '5'};
  ByteString own = {'7', '3' + 1, '0' + 2, '5' + 3, ' ' + 4, ' ' + 5, ' ' + 6, ' ' + 7};
  ByteString first(20);
  ASSERT_EQ(PKCS12_key_gen_uni(pin.data(), 5, own.data(), 8, 1, 3, 20, first.data(), EVP_sha1()), 1);
  ByteString expected(32);
  ASSERT_EQ(PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(first.data()), 20, salt.data(), 16, 1000, EVP_sha256(), 32,
                              expected.data()),
            1);
  const TokenKey key = TokenKey::ofPIN(pin, fixed(serial), fixed(salt), 1000);
  EXPECT_EQ(ByteString(key.octets().begin(), key.octets().end()), expected);

  SystemRandomGenerator random;
  const ByteString place = {'p'};
  for (const std::size_t n : {0U, 1U, 16U, 33U, 5000U}) {
    const ByteString text(n, 'x');
    const auto sealed = key.seal(place, text, random);
    ASSERT_TRUE(sealed.has_value());
    EXPECT_EQ(sealed->size(), n + TokenKey::kOverhead);
    const auto back = key.unseal(place, *sealed);
    ASSERT_TRUE(back.has_value()) << n;
    EXPECT_TRUE(std::ranges::equal(*back, text)) << n;
    EXPECT_FALSE(key.unseal({}, *sealed)) << "another place";
    for (std::size_t bit = 0; n < 100 && bit < sealed->size() * 8; bit += 7) {
      EXPECT_FALSE(key.unseal(place, withBitFlipped(*sealed, bit))) << bit;
    }
    // As EVP deciphers it under the key that is written down.
    ByteString purpose(32);
    unsigned int length = 0;
    HMAC(EVP_sha256(), key.octets().data(), 32, octets("encryption"), 10, purpose.data(), &length);
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                  EVP_CIPHER_CTX_free);
    ByteString plain(n + 16);
    int m = 0;
    ASSERT_EQ(EVP_DecryptInit_ex(context.get(), EVP_aes_256_ctr(), nullptr, purpose.data(), sealed->data()), 1);
    ASSERT_EQ(EVP_DecryptUpdate(context.get(), plain.data(), &m, sealed->data() + 16, static_cast<int>(n)), 1);
    plain.resize(n);
    EXPECT_EQ(plain, text) << n;
  }
}

}  // namespace keystrand::test

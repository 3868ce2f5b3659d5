// The token where memory runs out: the allocations of a call fail one after the other.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>
#include <utility>

#include "TokenObjects.h"
#include "support/TempFolder.h"

namespace {

long allocationsLeft = -1;  // until one fails; less than none: all succeed

}  // namespace

// In this program alone.
void* operator new(std::size_t n) {
  if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
  if (void* memory = std::malloc(std::max<std::size_t>(n, 1))) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace keystrand::test {
namespace {

constexpr const char* kPIN = "12345678";
const auto* const pin = reinterpret_cast<const unsigned char*>(kPIN);

// From that allocation on, until the call succeeds; after each failure the token has to be as it was before.
void fail(const char* name, const std::function<CK_RV()>& call, const std::function<void(long)>& check, long from = 0) {
  CK_RV result = CKR_HOST_MEMORY;
  for (long n = from; result != CKR_OK && !testing::Test::HasFailure(); ++n) {
    allocationsLeft = n;
    try {
      result = call();
    } catch (const std::bad_alloc&) {
    }
    allocationsLeft = -1;
    ASSERT_TRUE(result == CKR_OK || result == CKR_HOST_MEMORY) << name << ' ' << n << ": " << result;
    if (result != CKR_OK) check(n);
  }
}

Template kept(const char* label) {
  return with(with(note(), flag(CKA_TOKEN, true)), {CKA_LABEL, {label, label + std::strlen(label)}});
}

}  // namespace

TEST(TokenMemory, RunsOutWithoutATrace) {
  const TempFolder folder;
  setenv("PKCS11SLOT", (folder / "token").c_str(), 1);
  CryptoKi ki;
  const ByteString label(32, ' ');
  ASSERT_EQ(ki.initToken(1, pin, 8, label.data()), CKR_OK);
  {
    Session open(kReadWrite, 1);
    ASSERT_EQ(open.ki.login(open.handle, CKU_SO, pin, 8), CKR_OK);
    ASSERT_EQ(open.ki.initPIN(open.handle, pin, 8), CKR_OK);
    ASSERT_EQ(open.ki.logout(open.handle), CKR_OK);
    ASSERT_EQ(open.ki.login(open.handle, CKU_USER, pin, 8), CKR_OK);
    open.created(with(kept("private"), flag(CKA_PRIVATE, true)));
    open.created(kept("public"));
    CK_OBJECT_HANDLE object = 0;
    Template first = kept("first");
    const auto attributes = attributesOf(first);
    fail(
        "create", [&] { return open.ki.createObject(open.handle, attributes.data(), attributes.size(), &object); },
        [&](long n) {
          const CK_OBJECT_HANDLE second = open.created(kept("second"));
          EXPECT_EQ(open.found({kept("second").back()}), std::vector{second}) << n << ": another object has its handle";
          EXPECT_EQ(open.ki.destroyObject(open.handle, second), CKR_OK);
          EXPECT_EQ(open.found({}).size(), 2U) << n;
        });
    ASSERT_EQ(open.ki.closeSession(open.handle), CKR_OK);
  }
  Session user;
  const auto objects = [&] { return user.found({}).size(); };
  ASSERT_EQ(ki.closeSession(user.handle), CKR_OK);
  const auto openSession = [&] { return ki.openSession(1, kReadWrite, nullptr, nullptr, &user.handle); };
  fail("open", openSession, [&](long n) {
    ASSERT_EQ(openSession(), CKR_OK) << n;
    EXPECT_EQ(objects(), 2U) << n;
    EXPECT_EQ(ki.closeSession(user.handle), CKR_OK) << n;
  });
  const auto login = [&] { return ki.login(user.handle, CKU_USER, pin, 8); };
  constexpr long kMany = 1L << 40;
  allocationsLeft = kMany;
  ASSERT_EQ(login(), CKR_OK);
  const long most = kMany - std::exchange(allocationsLeft, -1);
  ASSERT_EQ(ki.logout(user.handle), CKR_OK);
  fail(
      "login", login, [&](long n) { EXPECT_EQ(objects(), 2U) << n; }, most - 10);  // the PIN takes long
  EXPECT_EQ(objects(), 3U);

  OpenDevice device;
  Buffer out;
  Session look;
  ASSERT_TRUE(device.device.setPBE("1.2.840.113549.1.12.1.3") && device.device.setPBESalt(pin, 8, 5));
  fail(
      "PBE", [&] { return device.device.encryptPBE(pin, 8, kPIN, out) ? CK_RV{CKR_OK} : device.device.lastResult(); },
      [&](long n) { EXPECT_TRUE(look.found({}).empty()) << n << ": the key stayed"; });
}

}  // namespace keystrand::test

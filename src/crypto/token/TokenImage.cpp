#include "crypto/token/TokenImage.h"

#include <algorithm>
#include <string_view>

#include "crypto/SHA1.h"
#include "crypto/SHA256.h"
#include "crypto/Words.h"
#include "crypto/token/BlankPadded.h"

namespace keystrand {

namespace {

using Octets = std::span<const unsigned char>;

constexpr std::size_t kHeadLength = 160;
constexpr std::size_t kSHA1Length = 20;
constexpr std::size_t kSHA256Length = 32;
constexpr std::size_t kEntryLength = 20;
constexpr std::size_t kTableEnd = kHeadLength + kSHA1Length + TokenImage::kMostRecords * kEntryLength;
constexpr std::uint32_t kVersion = 1;
constexpr std::string_view kModel = "Disk Token";
constexpr CK_FLAGS kFlags = CKF_RNG | CKF_LOGIN_REQUIRED | CKF_TOKEN_INITIALIZED;

enum class EntryKind : std::uint32_t { kFree, kPublic, kPrivate };

class Writer {
 public:
  Writer() { out_.reserve(kTableEnd); }  // what every image has; g++ 12 warns of inserting into a vector it sees empty
  void octets(Octets value) { out_.insert(out_.end(), value.begin(), value.end()); }
  void blanks(std::size_t count) { out_.insert(out_.end(), count, ' '); }
  template <class Word>
  void word(Word value) {
    std::array<unsigned char, sizeof value> coded{};
    storeWord<std::endian::big>(value, coded.data());
    octets(coded);
  }
  Bytes take() { return std::move(out_); }
  [[nodiscard]] std::size_t size() const noexcept { return out_.size(); }

 private:
  Bytes out_;
};

class Reader {
 public:
  explicit Reader(Octets in) : in_(in) {}
  // Fewer octets than asked for, and none from then on, at the end.
  Octets octets(std::size_t count) {
    const Octets part = in_.first(std::min(count, in_.size()));
    complete_ = complete_ && part.size() == count;
    in_ = complete_ ? in_.subspan(count) : Octets();
    return part;
  }
  void octets(std::span<unsigned char> target) { std::ranges::copy(octets(target.size()), target.begin()); }
  template <class Word>
  Word word() {
    std::array<unsigned char, sizeof(Word)> coded{};
    octets(coded);
    return loadWord<Word, std::endian::big>(coded.data());
  }
  [[nodiscard]] bool atEnd() const noexcept { return complete_ && in_.empty(); }

 private:
  Octets in_;
  bool complete_ = true;
};

template <class Digest, std::size_t N>
std::array<unsigned char, N> digestOf(Octets octets) {
  std::array<unsigned char, N> value{};
  Digest digest;
  digest.update(octets.data(), octets.size());
  digest.final(value);
  return value;
}

void putHead(Writer& out, const TokenImage& image) {
  CK_TOKEN_INFO info{};
  image.describe(info);
  out.octets(info.label);
  out.octets(info.manufacturerID);
  out.octets(info.model);
  out.octets(info.serialNumber);
  out.word(static_cast<std::uint32_t>(image.flags));
  out.octets(image.checkValue);
  out.blanks(kHeadLength - out.size());
}

void putTable(Writer& out, std::span<const TokenRecord> records) {
  for (std::size_t i = 0; i < TokenImage::kMostRecords; ++i) {
    const bool used = i < records.size();
    const EntryKind kind = !used ? EntryKind::kFree : records[i].isPrivate ? EntryKind::kPrivate : EntryKind::kPublic;
    out.word(static_cast<std::uint32_t>(kind));
    out.word(used ? records[i].number : std::uint64_t{0});
    out.word(used ? static_cast<std::uint32_t>(records[i].octets.size()) : std::uint32_t{0});
    out.word(std::uint32_t{0});
  }
}

void putLocked(Writer& out, const LockedKey& key) {
  out.octets(key.salt);
  out.octets(key.sealed);
}

void getHead(Reader& in, TokenImage& image) {
  in.octets(image.label);
  in.octets(32 + 16);  // manufacturer and model, which are the same in every file
  in.octets(image.serialNumber);
  image.flags = in.word<std::uint32_t>();
  in.octets(image.checkValue);
}

void getLocked(Reader& in, LockedKey& key) {
  in.octets(key.salt);
  in.octets(key.sealed);
}

// The lengths, so that nothing is taken before it is there; the numbers rise.
bool getTable(Reader& in, std::vector<std::size_t>& lengths, std::vector<TokenRecord>& records) {
  for (std::size_t i = 0; i < TokenImage::kMostRecords; ++i) {
    const auto kind = static_cast<EntryKind>(in.word<std::uint32_t>());
    const auto number = in.word<std::uint64_t>();
    const auto length = in.word<std::uint32_t>();
    in.word<std::uint32_t>();
    if (kind == EntryKind::kFree) continue;
    if (length > TokenImage::kLongestRecord || number == 0) return false;
    if (!records.empty() && number <= records.back().number) return false;
    lengths.push_back(length);
    records.push_back({number, kind == EntryKind::kPrivate, {}});
  }
  return true;
}

bool isInRange(const TokenImage& image) {
  return (image.flags & ~CK_FLAGS{CKF_USER_PIN_INITIALIZED}) == kFlags && image.iterations >= 1 &&
         image.iterations <= TokenKey::kMostStretching && image.nextNumber != 0 &&
         (image.records.empty() || image.records.back().number < image.nextNumber);
}

}  // namespace

void TokenImage::describe(CK_TOKEN_INFO& info) const {
  std::ranges::copy(label, info.label);
  pad(info.manufacturerID, kManufacturer);
  pad(info.model, kModel);
  std::ranges::copy(serialNumber, info.serialNumber);
  info.flags = flags;
}

Bytes TokenImage::encode() const {
  Writer out;
  putHead(out, *this);
  out.octets(std::array<unsigned char, kSHA1Length>{});
  putTable(out, records);
  out.word(kVersion);
  out.word(iterations);
  out.word(nextNumber);
  out.octets(id);
  putLocked(out, officer);
  putLocked(out, user);
  for (const TokenRecord& record : records) out.octets(record.octets);
  out.octets(std::array<unsigned char, kSHA256Length>{});
  Bytes file = out.take();
  putDigests(file);
  return file;
}

void TokenImage::putDigests(std::span<unsigned char> file) {
  const auto head = digestOf<SHA1, kSHA1Length>(file.first(kHeadLength));
  std::ranges::copy(head, file.subspan(kHeadLength).begin());
  const auto whole = digestOf<SHA256, kSHA256Length>(file.first(file.size() - kSHA256Length));
  std::ranges::copy(whole, file.last(kSHA256Length).begin());
}

// What is not looked at here, blanks and digests among it, is found wrong where the file is written again.
std::optional<TokenImage> TokenImage::decode(Octets file) {
  if (file.size() < kShortestFile || file.size() > kLongestFile) return std::nullopt;
  TokenImage image;
  std::vector<std::size_t> lengths;
  Reader head(file.first(kHeadLength));
  getHead(head, image);
  Reader table(file.subspan(kHeadLength + kSHA1Length, kTableEnd - kHeadLength - kSHA1Length));
  if (!getTable(table, lengths, image.records)) return std::nullopt;
  Reader rest(file.subspan(kTableEnd));
  rest.word<std::uint32_t>();
  image.iterations = rest.word<std::uint32_t>();
  image.nextNumber = rest.word<std::uint64_t>();
  rest.octets(image.id);
  getLocked(rest, image.officer);
  getLocked(rest, image.user);
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    const Octets octets = rest.octets(lengths[i]);
    image.records[i].octets.assign(octets.begin(), octets.end());
  }
  rest.octets(kSHA256Length);
  if (!rest.atEnd() || !isInRange(image) || !std::ranges::equal(image.encode(), file)) return std::nullopt;
  return image;
}

}  // namespace keystrand

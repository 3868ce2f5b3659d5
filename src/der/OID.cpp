#include "keystrand/der/OID.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

#include "support/Memory.h"

namespace keystrand {

namespace {

// What the text of an identifier without arcs has always been; callers know an empty one by it.
constexpr std::string_view kEmptyText = "0.0.0.0.0.0.0.";

// The arcs of a dotted text, one after the other. Whatever is no digit ends its piece; digits count modulo 2^32.
class DottedText {
 public:
  explicit DottedText(const char* text) : rest_(text == nullptr ? "" : text), more_(!rest_.empty()) {}

  bool next(std::uint32_t& arc) {
    if (!more_) return false;
    const std::size_t point = rest_.find('.');
    arc = number(rest_.substr(0, point));
    more_ = point != std::string_view::npos;
    if (more_) rest_.remove_prefix(point + 1);
    return true;
  }

 private:
  static std::uint32_t number(std::string_view piece) {
    std::uint32_t value = 0;
    for (const char c : piece) {
      if (c < '0' || c > '9') break;
      value = value * 10 + static_cast<std::uint32_t>(c - '0');
    }
    return value;
  }

  std::string_view rest_;
  bool more_;
};

}  // namespace

OID::OID(const char* dotted) {
  DottedText text(dotted);
  for (std::uint32_t arc = 0; text.next(arc);) {
    if (!setArc(count_, arc)) return;
    ++count_;
  }
}

OID::OID(const OID& other) : capacity_(other.capacity_), count_(other.count_), overflow_(other.overflow_) {
  std::ranges::copy(other.inline_, inline_);
  if (!other.more_) return;
  more_ = std::make_unique<std::uint32_t[]>(capacity_);
  std::copy_n(other.more_.get(), capacity_, more_.get());
}

OID& OID::operator=(const OID& other) {
  if (this != &other) {
    OID copy(other);
    swap(copy);
  }
  return *this;
}

void OID::swap(OID& other) noexcept {
  std::swap(more_, other.more_);
  std::ranges::swap(inline_, other.inline_);
  std::swap(capacity_, other.capacity_);
  std::swap(count_, other.count_);
  std::swap(overflow_, other.overflow_);
}

void OID::grow(int arcs) {
  const int wanted = std::min(kMaxArcs, std::max(arcs, 2 * capacity_));
  auto larger = std::make_unique<std::uint32_t[]>(static_cast<std::size_t>(wanted));
  std::copy_n(store(), capacity_, larger.get());
  more_ = std::move(larger);
  capacity_ = static_cast<std::uint8_t>(wanted);
}

bool OID::setCount(int n) {
  if (n > kMaxArcs) overflow_ = true;
  const int count = std::clamp(n, 0, kMaxArcs);
  if (count > capacity_) grow(count);
  count_ = static_cast<std::uint8_t>(count);
  return n == count;
}

std::uint32_t OID::arc(int index) const noexcept {
  return index < 0 || index >= capacity_ ? 0 : store()[index];
}

bool OID::setArcBeyond(int index, std::uint32_t value) {
  if (index < 0) return false;
  if (index >= kMaxArcs) {
    overflow_ = true;
    return false;
  }
  grow(index + 1);
  store()[index] = value;
  return true;
}

std::string OID::dotted() const {
  if (count_ == 0) return std::string(kEmptyText);
  std::string text;
  for (const std::uint32_t arc : arcs()) text += std::to_string(arc) + '.';
  text.pop_back();
  return text;
}

owner<char*> OID::toText() const {
  return newText(dotted());
}

bool OID::equals(const char* dotted) const {
  if (overflow_) return false;
  DottedText text(dotted);
  int i = 0;
  for (std::uint32_t arc = 0; i < kMaxArcs && text.next(arc); ++i)
    if (i >= count_ || store()[i] != arc) return false;
  return i == count_;
}

bool OID::equals(const OID& other) const noexcept {
  return !overflow_ && std::ranges::equal(arcs(), other.arcs());
}

bool OID::startsWith(const char* dotted) const {
  return startsWith(OID(dotted));
}

bool OID::startsWith(const OID& prefix) const noexcept {
  return prefix.count_ <= count_ && std::ranges::equal(arcs().first(prefix.count_), prefix.arcs());
}

void OID::print() const {
  for (int i = 0; i < count_; ++i) std::printf(i == 0 ? "%d" : ".%d", static_cast<std::int32_t>(arc(i)));
}

}  // namespace keystrand

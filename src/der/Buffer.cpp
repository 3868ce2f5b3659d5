#include "keystrand/der/Buffer.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include "der/BufferSteps.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

// Every block is this much longer than announced; the first of these bytes holds the guard value.
constexpr std::size_t kSlack = 20;

}  // namespace

void Buffer::BlockDeleter::operator()(unsigned char* block) const noexcept {
  if (attached)
    delete[] block;
  else
    std::free(block);  // NOLINT(cppcoreguidelines-no-malloc): zeroed lazily by calloc
}

Buffer::Buffer() = default;

Buffer::Buffer(std::uint32_t size) {
  if (size <= kMaxSize) allocate(size);
}

Buffer::Buffer(const Buffer& other) {
  allocate(std::min(other.allocated_, kMaxSize));
  setLimit(other.limit_);
}

Buffer::~Buffer() = default;

// --- the block ---------------------------------------------------------------------------------------------

// A new block of zeros, with nothing in it.
void Buffer::allocate(std::uint32_t n) {
  auto* block = static_cast<unsigned char*>(std::calloc(n + kSlack, 1));
  if (block == nullptr) throw std::bad_alloc();
  data_ = Block(block, BlockDeleter{});
  data_[n] = kGuard;
  allocated_ = limit_ = dirty_ = n;
}

// Moves the bytes held to a block of n; when there is no memory, all stays as it was. Growing in place costs little for
// the large blocks that downloads fill piece by piece; an empty one is rather replaced, because its zeros then need not
// be written.
void Buffer::enlarge(std::uint32_t n) {
  if (length_ == 0 || data_.get_deleter().attached) {
    Buffer larger;
    larger.allocate(n);
    if (length_ != 0) std::memcpy(larger.data_.get(), data_.get(), length_);
    std::swap(data_, larger.data_);
  } else {
    auto* block = static_cast<unsigned char*>(std::realloc(data_.get(), n + kSlack));
    if (block == nullptr) throw std::bad_alloc();
    static_cast<void>(data_.release());
    data_.reset(block);
    std::memset(block + length_, 0, n + kSlack - length_);
    data_[n] = kGuard;
  }
  allocated_ = limit_ = dirty_ = n;
}

void Buffer::reserve(std::uint32_t n) {
  if (n > limit_ && n <= kMaxSize) enlarge(std::max(n, length_));  // length_ passes a limit that was lowered
}

// Makes place for n more bytes; false when a Buffer cannot hold them.
bool Buffer::room(std::uint64_t n) {
  const std::uint64_t total = length_ + n;
  if (total > kMaxSize) return false;
  reserve(static_cast<std::uint32_t>(total));
  return true;
}

void Buffer::reset() noexcept {
  setSize(0);
  readPosition_ = 0;
  depth_ = 0;
}

void Buffer::release() noexcept {
  data_ = Block(nullptr, BlockDeleter{});
  allocated_ = limit_ = dirty_ = 0;
  reset();
}

void Buffer::setLimit(std::uint32_t n) noexcept {
  limit_ = std::min(n, allocated_);
}

void Buffer::setSize(std::uint32_t n) noexcept {
  dirty_ = std::max(dirty_, length_);
  length_ = std::min(n, limit_);
}

void Buffer::setReadPosition(std::uint64_t n) noexcept {
  readPosition_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(n, limit_));
}

// Fills the block behind the bytes held with the guard value. Only what was written since the last time is touched: a
// small message in a large block costs no more than a small block.
void Buffer::fillBehind() noexcept {
  if (dirty_ > length_) std::memset(data_.get() + length_, kGuard, dirty_ - length_);
  dirty_ = length_;
}

// --- bytes as a whole --------------------------------------------------------------------------------------

unsigned char* Buffer::data(std::uint32_t& length) const noexcept {
  length = length_;
  return data_.get();
}

void Buffer::assign(const unsigned char* bytes, std::uint32_t n) {
  if (bytes == nullptr || n > kMaxSize) return;
  reset();
  reserve(n);
  if (n != 0) std::memmove(data_.get(), bytes, n);  // a part of what is held may be assigned
  length_ = n;
  fillBehind();
}

void Buffer::append(const unsigned char* bytes, std::uint32_t n) {
  if (bytes == nullptr || n == 0 || !room(n)) return;
  std::memcpy(data_.get() + length_, bytes, n);
  length_ += n;
  fillBehind();
}

void Buffer::attach(unsigned char* bytes, std::uint32_t n) noexcept {
  static_cast<void>(data_.release());
  data_ = Block(bytes, BlockDeleter{true});
  allocated_ = limit_ = length_ = dirty_ = bytes != nullptr ? n : 0;
  readPosition_ = 0;
  depth_ = 0;
}

void Buffer::detach() noexcept {
  attach(nullptr, 0);
}

void Buffer::copyOut(unsigned char*& bytes, std::uint32_t& n) const {
  n = length_;
  bytes = new unsigned char[n];
  if (n != 0) std::memcpy(bytes, data_.get(), n);
}

std::span<const unsigned char> Buffer::range(std::uint64_t from, std::uint64_t to) const noexcept {
  const auto end = std::min<std::uint64_t>(to, length_);
  const auto start = std::min(from, end);
  return {data_.get() + start, static_cast<std::size_t>(end - start)};
}

// --- bytes at the cursors ----------------------------------------------------------------------------------

void Buffer::putByte(unsigned char byte) {
  put(byte);
}

unsigned char Buffer::getByte() {
  return take();
}

unsigned char Buffer::peekByte(std::uint32_t offset) const {
  return peek(std::uint64_t{readPosition_} + offset);
}

unsigned char Buffer::peekByte() const {
  return peek(readPosition_);
}

void Buffer::putRaw(const void* bytes, std::uint32_t n) {
  if (n == 0 || !room(n)) return;
  std::memcpy(data_.get() + length_, bytes, n);
  length_ += n;
}

void Buffer::putBytes(const unsigned char* bytes, std::uint32_t n) {
  if (bytes != nullptr) putRaw(bytes, n);
}

owner<unsigned char*> Buffer::getBytes(std::uint32_t n) {
  clampReadPosition();
  const std::uint32_t taken = std::min(n, limit_ - readPosition_);
  auto* bytes = new unsigned char[taken];
  Buffer::getBytes(bytes, taken);
  return bytes;
}

void Buffer::getBytes(unsigned char* dest, std::uint32_t n) {
  clampReadPosition();
  const std::uint32_t taken = std::min(n, limit_ - readPosition_);
  if (taken != 0) std::memcpy(dest, data_.get() + readPosition_, taken);
  readPosition_ += taken;
}

void Buffer::putEndOfContents() {
  put(0);
  put(0);
}

bool Buffer::getEndOfContents() {
  return take() == 0 && take() == 0;
}

std::uint32_t Buffer::sizeEndOfContents() const {
  return 2;
}

}  // namespace keystrand

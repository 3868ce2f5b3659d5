#include <gmock/gmock.h>
#include <sys/resource.h>

#include <new>

#include "der/BorrowedBuffer.h"
#include "der/BufferContents.h"
#include "der/Element.h"

namespace keystrand::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

// Nothing is read at the limit, so memory that is not ours, or no memory at all, does no harm there.
TEST(BufferCursor, GuardIsReadAgainAndAgainAtTheLimit) {
  const ByteString bytes(3, 0xEE);
  Buffer nothing, empty(0), lowered(8);
  lowered.setLimit(3);
  BorrowedBuffer borrowed(bytes);
  for (Buffer* buffer : {&nothing, &empty, &lowered, static_cast<Buffer*>(&borrowed)}) {
    const std::uint32_t end = buffer->limit();
    buffer->setReadPosition(0xFFFFFFFFFFULL);
    EXPECT_EQ(buffer->readPosition(), end);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(buffer->getByte(), 1);
    EXPECT_EQ(buffer->peekByte(), 1);
    EXPECT_EQ(buffer->peekByte(0xFFFFFFFF), 1);
    EXPECT_EQ(buffer->readPosition(), end);
  }
}

TEST(BufferCursor, ReadingIsCutAtTheLimit) {
  Holding buffer("0A0B0C");
  buffer.setReadPosition(1);
  const std::unique_ptr<unsigned char[]> bytes(buffer.getBytes(0xFFFFFFFF));
  EXPECT_EQ(buffer.readPosition(), 3U);
  EXPECT_THAT(std::vector<int>(bytes.get(), bytes.get() + 2), ElementsAre(0x0B, 0x0C));

  unsigned char dest[4] = {9, 9, 9, 9};
  buffer.setReadPosition(2);
  buffer.getBytes(dest, 4);
  EXPECT_THAT(dest, ElementsAre(0x0C, 9, 9, 9));
}

// The size that a Buffer can count ends near 4 GiB; nothing of a write beyond it may reach the block.
TEST(BufferCursor, WritesBeyondTheCountedSizeAreDropped) {
  Buffer buffer;
  const ByteString bytes(40, 0x5A);
  buffer.putBytes(bytes.data(), 40);
  for (const std::uint32_t n : {Buffer::kMaxSize, Buffer::kMaxSize + 1, 0xFFFFFFFFU}) {
    buffer.putBytes(bytes.data(), n);
    buffer.append(bytes.data(), n);
    buffer.assign(bytes.data(), n == Buffer::kMaxSize ? n + 1 : n);
    buffer.reserve(n == Buffer::kMaxSize ? n + 1 : n);
    buffer.putBitString(bytes.data(), n, 0);
  }
  EXPECT_EQ(buffer.size(), 40U);
  EXPECT_EQ(Buffer(Buffer::kMaxSize + 1).limit(), 0U);
}

// A Buffer that could not grow is still the one it was: the contexts go on with theirs.
TEST(BufferCursor, StaysAsItWasWhenThereIsNoMemory) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer ends the process instead";
#elif defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer needs more memory than the test leaves";
#endif
  Buffer empty(100);
  Holding full("0102");
  Buffer attached;
  attached.attach(new unsigned char[2]{3, 4}, 2);
  rlimit before{};
  getrlimit(RLIMIT_AS, &before);
  const rlimit low{rlim_t{1} << 30, before.rlim_max};
  setrlimit(RLIMIT_AS, &low);
  for (Buffer* buffer : {&empty, static_cast<Buffer*>(&full), &attached})
    EXPECT_THROW(buffer->reserve(0x80000000), std::bad_alloc);
  setrlimit(RLIMIT_AS, &before);
  fill(empty, hex("AABB"));
  EXPECT_EQ(held(empty), hex("AABB"));
  EXPECT_EQ(held(full), hex("0102"));
  EXPECT_EQ(held(attached), hex("0304"));
}

TEST(BufferCursor, CopyTakesTheSizeAndNotTheBytes) {
  Holding original("01020304");
  original.setLimit(2);
  Buffer copy(original);
  EXPECT_EQ(copy.limit(), 2U);
  EXPECT_EQ(copy.size(), 0U);
  copy.setLimit(100);
  EXPECT_EQ(copy.limit(), 4U) << "the whole block of the original";
  for (int i = 0; i < 4; ++i) EXPECT_EQ(copy.getByte(), 0);
}

// The limit may be lowered below what is held; the next write must still find its place.
TEST(BufferCursor, WritesBehindALoweredLimit) {
  Holding buffer(ByteString(900, 0x11));
  buffer.setLimit(10);
  EXPECT_TRUE(buffer.isFull());
  EXPECT_EQ(buffer.remaining(), 10U);
  buffer.reserve(20);
  buffer.putByte(0x22);
  ByteString expected(900, 0x11);
  expected.push_back(0x22);
  EXPECT_EQ(held(buffer), expected);
}

TEST(BufferCursor, APartOfWhatIsHeldMayBeAssignedAndNothingChangesNothing) {
  Holding buffer("3003020107");
  buffer.assign(nullptr, 5);
  buffer.append(nullptr, 5);
  buffer.putBytes(nullptr, 5);
  EXPECT_EQ(buffer.size(), 5U);
  std::uint32_t n = 0;
  buffer.assign(buffer.data(n) + 2, 3);
  EXPECT_EQ(held(buffer), hex("020107"));
}

TEST(BufferCursor, AttachedMemoryIsReadInPlaceAndHandedBack) {
  unsigned char memory[] = {0x02, 0x01, 0x2A};
  Buffer buffer;
  buffer.attach(memory, sizeof memory);
  std::int32_t value = 0;
  EXPECT_TRUE(buffer.getInteger(value));
  EXPECT_EQ(value, 42);
  buffer.detach();
  EXPECT_EQ(buffer.size() + buffer.limit(), 0U);

  buffer.attach(new unsigned char[2]{1, 2}, 2);  // and without detach() it is owned, and grows into a block of its own
  buffer.putByte(3);
  EXPECT_EQ(held(buffer), hex("010203"));
}

// What an earlier, longer message left in the block must not complete a shorter one that was cut off.
TEST(BufferCursor, NothingLeftInTheBlockCompletesACutElement) {
  const auto bytesBehind = [](Buffer& buffer) {
    ByteString behind;
    for (std::uint32_t i = 0; buffer.size() + i < buffer.limit(); ++i) {
      buffer.setReadPosition(buffer.size() + i);
      behind.push_back(buffer.peekByte());
    }
    return behind;
  };
  Buffer buffer(64);
  fill(buffer, hex("3080 0403616263 0000 0000"));
  EXPECT_THAT(bytesBehind(buffer), Each(1)) << "a new block";
  fill(buffer, hex("3080 040361"));
  EXPECT_THAT(bytesBehind(buffer), Each(1)) << "a longer content before";
  for (int i = 0; i < 64; ++i) buffer.putByte(0);
  buffer.reset();
  fill(buffer, hex("2480 040161"));
  EXPECT_THAT(bytesBehind(buffer), Each(1)) << "writes before";

  unsigned char* bytes = nullptr;
  std::uint32_t n = 0;
  buffer.setReadPosition(0);
  EXPECT_FALSE(buffer.getOctetString(bytes, n)) << "the end of contents is missing";
  buffer.append(hex("0000").data(), 2);
  buffer.setReadPosition(0);
  EXPECT_TRUE(buffer.getOctetString(bytes, n)) << "and may come later";
  delete[] bytes;
}

TEST(BufferCursor, ViewsAndRangesStayWithinWhatIsHeld) {
  Holding buffer("010203");
  buffer.reserve(50);
  buffer.setReadPosition(1);
  std::span<const unsigned char> view;
  EXPECT_FALSE(buffer.view(3, view));
  EXPECT_EQ(buffer.readPosition(), 1U);
  EXPECT_TRUE(buffer.view(2, view));
  EXPECT_THAT(view, ElementsAre(2, 3));
  EXPECT_TRUE(buffer.view(0, view));
  buffer.setReadPosition(40);
  EXPECT_FALSE(buffer.view(1, view));
  EXPECT_THAT(buffer.range(1, 100), ElementsAre(2, 3));
  EXPECT_TRUE(buffer.range(2, 1).empty());
  EXPECT_TRUE(buffer.range(0xFFFFFFFFFFULL, 0xFFFFFFFFFFULL).empty());
}

int nested(Buffer& buffer) {
  const Nesting level(buffer);
  return level ? 1 + nested(buffer) : 0;
}

TEST(BufferCursor, NestingEndsAtTheSixteenthLevel) {
  Holding buffer("00");
  EXPECT_EQ(nested(buffer), 16);
  EXPECT_EQ(nested(buffer), 16) << "all levels were left";
  {
    const Nesting level(buffer);
    buffer.reset();
  }
  EXPECT_EQ(nested(buffer), 16) << "a reset in between counts nothing below zero";
}

}  // namespace
}  // namespace keystrand::test

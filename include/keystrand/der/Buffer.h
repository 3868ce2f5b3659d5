// A growable block of bytes with a read and a write cursor, and all the BER and DER coding of the library (X.690).
//
// Every structure has three operations over a Buffer: size tells how many bytes put would write, put writes them, get
// reads them. A get returns false on malformed input and leaves its outputs as far as it came; it restores no cursor.
// Cursor reads, headers and lengths among them, reach up to limit() and yield the guard byte 1 there, again and again,
// never a fault. Values reach up to size() only: one that claims more is refused before anything is allocated.
//
// Owning outputs (char*&, unsigned char*&) are always set, to null or to a new array that the caller releases with
// delete[]. A null pointer given to a writer stands for an absent value and is written as NULL; every pointer-valued
// reader accepts NULL (05 00) in place of its own tag: null, length 0, true.
//
// Thread: one at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "keystrand/support/Api.h"

namespace keystrand {

class OID;

class KEYSTRAND_API Buffer {
 public:
  Buffer();
  explicit Buffer(std::uint32_t size);
  // Takes over the size of the other, not its bytes.
  explicit Buffer(const Buffer& other);
  Buffer& operator=(const Buffer&) = delete;
  virtual ~Buffer();

  // The most a Buffer holds. A write that would pass it is dropped as a whole.
  static constexpr std::uint32_t kMaxSize = 0xFFFFFFE0;

  // --- the block and the cursors ---------------------------------------------------------------------------
  // Makes limit() at least n; the bytes held are kept. New bytes of the block are zero.
  void reserve(std::uint32_t n);
  // Both cursors to 0; the block and its contents stay.
  void reset() noexcept;
  // Frees the block, all sizes and cursors to 0.
  void release() noexcept;
  [[nodiscard]] bool atEnd() const noexcept { return readPosition_ == length_; }
  [[nodiscard]] bool isFull() const noexcept { return length_ >= limit_; }
  [[nodiscard]] std::uint32_t limit() const noexcept { return limit_; }
  // Clamped to what is allocated.
  void setLimit(std::uint32_t n) noexcept;
  [[nodiscard]] std::uint32_t size() const noexcept { return length_; }
  void setSize(std::uint32_t n) noexcept;  // clamped to the limit
  [[nodiscard]] std::uint32_t readPosition() const noexcept { return readPosition_; }
  void setReadPosition(std::uint64_t n) noexcept;  // clamped to the limit
  // The block itself and size(); nullptr while nothing was reserved or written.
  [[nodiscard]] unsigned char* data(std::uint32_t& length) const noexcept;
  // Null bytes change nothing. Behind the bytes taken over, the block is filled with the guard value, so that nothing
  // left from earlier use completes a truncated element; the same holds after loading and decoding.
  void assign(const unsigned char* bytes, std::uint32_t n);
  void append(const unsigned char* bytes, std::uint32_t n);
  // Adopts a block made with new[]; the former block is not released. Pair with detach() to read the caller's memory.
  void attach(unsigned char* bytes, std::uint32_t n) noexcept;
  void detach() noexcept;
  // A new array of size() bytes, delete[]d by the caller.
  void copyOut(unsigned char*& bytes, std::uint32_t& n) const;
  // New text without line breaks, delete[]d by the caller; nullptr without a block.
  [[nodiscard]] owner<char*> toBase64() const;
  bool decodeBase64() { return decodeBase64(false); }
  // The text held becomes the bytes it stands for, by the strict decoder. Without `force` only a text that begins with
  // M, as that of any longer SEQUENCE does, is tried: any other is left as it is, with false. When the decoder fails,
  // size() is 0 and the text still lies in the block: setSize() with the former size brings it back.
  bool decodeBase64(bool force);
  // PEM armour, or bare Base64, held in memory (RFC 7468), through the lenient decoder. Refuses, changing nothing, what
  // does not begin with M behind the armour line; when decoding fails, size() is 0. The label, NUL-terminated and cut
  // to `capacity` with the NUL, loses its first letter on this route. The read cursor stays where it is.
  bool fromPEM(char* label = nullptr, std::size_t capacity = 0);

  // --- reading without copies, for the library's own decoders ----------------------------------------------
  // Bytes of content that a value may still take: up to size(), not beyond.
  [[nodiscard]] std::uint64_t remaining() const noexcept {
    const std::uint32_t end = length_ < limit_ ? length_ : limit_;
    return end > readPosition_ ? end - readPosition_ : 0;
  }
  // The next n bytes in place, valid until the Buffer changes; false, nothing moved, when fewer remain.
  bool view(std::uint64_t n, std::span<const unsigned char>& out) noexcept {
    if (n > remaining()) return false;
    out = {data_.get() + readPosition_, static_cast<std::size_t>(n)};
    readPosition_ += static_cast<std::uint32_t>(n);
    return true;
  }
  // The bytes held, from `from` up to but not including `to`, both clamped to size().
  [[nodiscard]] std::span<const unsigned char> range(std::uint64_t from, std::uint64_t to) const noexcept;
  // Readers that can nest call enter() first and leave() behind it: false from the 17th level on.
  bool enter() noexcept {
    if (depth_ >= kMaxDepth) return false;
    ++depth_;
    return true;
  }
  void leave() noexcept {
    if (depth_ > 0) --depth_;  // 0 when the Buffer was reset meanwhile
  }

  // --- files; paths are UTF-8 ------------------------------------------------------------------------------
  // Regular files below 4 GiB only. The Locked forms hold an exclusive lock on the first byte of the file, against
  // other processes and other descriptors of this one, and wait for it; what they save is readable by its owner only.
  // Saving writes in place.
  bool saveFile(const char* path);
  bool saveFileLocked(const char* path);
  bool loadFile(const char* path);
  bool loadFileLocked(const char* path);
  // True whenever the file could be opened. A null label writes the bare lines.
  bool savePEM(const char* path, const char* label);
  // The whole file; text before the first armour is taken for data. The label loses its first letter, as in fromPEM.
  bool loadPEM(const char* path, char* label = nullptr, std::size_t capacity = 0);
  // The first armour of the file. The label is kept whole on this route.
  bool loadPEMStream(const char* path, char* label = nullptr, std::size_t capacity = 0);
  // From the position of an open file on; descriptor -1 gives false.
  bool writeTo(int descriptor) const;
  bool readFrom(int descriptor);
  bool writePEM(int descriptor, const char* label) const;
  bool readPEM(int descriptor, char* label = nullptr, std::size_t capacity = 0);
  // The next armour of an open file, which then stands just behind it; false when none is left.
  bool readPEMStream(int descriptor, char* label = nullptr, std::size_t capacity = 0);
  // Goes back one byte from the position of the file, then appends n bytes; false when the file is shorter than n.
  bool appendFrom(int descriptor, std::uint32_t n);

  // --- raw bytes -------------------------------------------------------------------------------------------
  virtual void putByte(unsigned char byte);
  virtual unsigned char getByte();
  virtual unsigned char peekByte(std::uint32_t offset) const;
  virtual unsigned char peekByte() const;
  virtual void putBytes(const unsigned char* bytes, std::uint32_t n);
  virtual owner<unsigned char*> getBytes(std::uint32_t n);
  virtual void getBytes(unsigned char* dest, std::uint32_t n);

  // --- end of contents (X.690 8.1.5) -----------------------------------------------------------------------
  virtual void putEndOfContents();
  virtual bool getEndOfContents();
  virtual std::uint32_t sizeEndOfContents() const;

  // --- headers (X.690 8.1.2, 8.1.3) ------------------------------------------------------------------------
  virtual void putHeader(unsigned char tag, std::uint32_t n);
  virtual void putIndefiniteHeader(unsigned char tag);
  virtual bool getHeader(unsigned char& tag, std::uint32_t& n, bool& definite);
  virtual bool getHeader(unsigned char& tag, std::uint32_t& n);
  virtual bool getIndefiniteHeader(unsigned char& tag);
  virtual bool peekHeader(unsigned char& tag, std::uint32_t& n, bool& definite);
  virtual bool peekHeader(unsigned char& tag, std::uint32_t& n);
  virtual bool peekIndefiniteHeader(unsigned char& tag);
  virtual std::uint32_t sizeHeader(unsigned char tag, std::uint32_t n) const;
  virtual std::uint32_t sizeIndefiniteHeader(unsigned char tag) const;

  virtual void putLength(std::uint32_t n);
  virtual std::uint32_t sizeLength(std::uint32_t n) const;
  virtual bool getLength(std::uint32_t& n);

  // --- SEQUENCE and SET ------------------------------------------------------------------------------------
  virtual void putSequence(std::uint32_t n);
  virtual void putSequenceIndefinite();
  virtual std::uint32_t sizeSequence(std::uint32_t n) const;
  virtual std::uint32_t sizeSequenceIndefinite() const;
  virtual bool getSequence(std::uint32_t& n, bool& definite);
  virtual bool getSequence(std::uint32_t& n);
  virtual bool getSequenceIndefinite();
  virtual void putSet(std::uint32_t n);
  virtual std::uint32_t sizeSet(std::uint32_t n) const;
  virtual bool getSet(std::uint32_t& n, bool& definite);
  virtual bool getSet(std::uint32_t& n);

  // --- BIT STRING (X.690 8.6) ------------------------------------------------------------------------------
  virtual std::uint32_t sizeBitString(std::uint32_t n) const;
  virtual void putBitString(const unsigned char* bytes, std::uint32_t n, unsigned char unused, unsigned char tag);
  virtual void putBitString(const unsigned char* bytes, std::uint32_t n, unsigned char unused);
  virtual bool getBitString(unsigned char*& bytes, std::uint32_t& n, unsigned char& unused, unsigned char tag);
  virtual bool getBitString(unsigned char*& bytes, std::uint32_t& n, unsigned char& unused);
  virtual void putBitStringHeader(std::uint32_t n, unsigned char unused);
  virtual bool getBitStringHeader(std::uint32_t& n, unsigned char& unused);

  // --- universal types: writers ----------------------------------------------------------------------------
  virtual void putOID(const OID& oid, unsigned char tag);
  virtual void putOID(const OID& oid);
  virtual void putInteger(std::int32_t value, unsigned char tag);
  virtual void putInteger(std::int32_t value);
  virtual void putText(const char* text, unsigned char tag);
  virtual void putOctetString(const unsigned char* bytes, std::uint32_t n);
  virtual void putOctetString(const char* text);
  virtual void putOctetString(const unsigned char* bytes, std::uint32_t n, unsigned char tag);
  virtual void putByteInteger(unsigned char value);
  virtual void putNull();

  // --- their sizes -----------------------------------------------------------------------------------------
  virtual std::uint32_t sizeOID(const OID& oid) const;
  virtual std::uint32_t sizeInteger(std::int32_t value, unsigned char tag) const;
  virtual std::uint32_t sizeInteger(std::int32_t value) const;
  virtual std::uint32_t sizeText(const char* text, unsigned char tag) const;
  virtual std::uint32_t sizeOctetString(const unsigned char* bytes, std::uint32_t n) const;
  virtual std::uint32_t sizeOctetString(const char* text) const;
  virtual std::uint32_t sizeOctetString(const unsigned char* bytes, std::uint32_t n, unsigned char tag) const;
  virtual std::uint32_t sizeByteInteger() const;
  virtual std::uint32_t sizeNull() const;

  // --- their readers ---------------------------------------------------------------------------------------
  virtual bool getOID(OID& oid, unsigned char tag);
  virtual bool getOID(OID& oid);
  virtual bool getInteger(std::int32_t& value, unsigned char tag);
  virtual bool getInteger(std::int32_t& value);
  virtual bool getText(char*& text, unsigned char tag);
  virtual bool getOctetString(char*& text, std::uint32_t& n);
  virtual bool getOctetString(char*& text);
  virtual bool getOctetString(unsigned char*& bytes, std::uint32_t& n, unsigned char tag);
  // True whenever the header can be read; copies only when the tag is 4 and the length is that of dest.
  virtual bool getOctetString(std::span<unsigned char> dest);
  virtual bool getOctetString(unsigned char*& bytes, std::uint32_t& n);
  virtual bool getByteInteger(unsigned char& value);
  virtual bool getNull();

  // --- empty values, ENUMERATED, one-byte values -----------------------------------------------------------
  virtual void putEmpty(unsigned char tag);
  virtual bool getEmpty(unsigned char tag);
  virtual void putEnumerated(unsigned char value);
  virtual std::uint32_t sizeEnumerated() const;
  virtual bool getEnumerated(unsigned char& value);
  virtual void putByteValue(unsigned char value, unsigned char tag);
  virtual void putBoolean(unsigned char value);
  virtual std::uint32_t sizeByteValue() const;
  virtual std::uint32_t sizeBoolean() const;
  virtual bool getByteValue(unsigned char& value, unsigned char tag);
  virtual bool getBoolean(unsigned char& value);

  // --- views without copy ----------------------------------------------------------------------------------
  virtual bool getOctetStringRef(unsigned char*& bytes, std::uint32_t& n, unsigned char tag);
  // 0 on failure, 1 when bytes points into the Buffer, 2 when bytes is a new array that the caller releases.
  virtual int getOctetStringRef(unsigned char*& bytes, std::uint32_t& n);

  // --- wide tags, up to four bytes -------------------------------------------------------------------------
  virtual void putWide(std::uint32_t tag, std::uint32_t n, const unsigned char* bytes);
  virtual std::uint32_t sizeWide(std::uint32_t tag, std::uint32_t n) const;
  virtual std::uint32_t sizeWideHeader(std::uint32_t tag, std::uint32_t n) const;

 private:
  static constexpr unsigned char kGuard = 1;
  static constexpr int kMaxDepth = 16;

  // Owned blocks come from calloc; an attached one was made by the caller with new[].
  struct BlockDeleter {
    BlockDeleter() noexcept : attached(false) {}
    explicit BlockDeleter(bool attachedBlock) noexcept : attached(attachedBlock) {}
    bool attached;
    void operator()(unsigned char* block) const noexcept;
  };
  using Block = std::unique_ptr<unsigned char[], BlockDeleter>;

  // The steps under the operations above, not virtual; the inline ones that are not here stand in der/BufferSteps.h.
  unsigned char take() noexcept {
    if (readPosition_ < limit_) return data_[readPosition_++];
    readPosition_ = limit_;
    return kGuard;
  }
  [[nodiscard]] unsigned char peek(std::uint64_t position) const noexcept {
    return position < limit_ ? data_[static_cast<std::size_t>(position)] : kGuard;
  }
  void clampReadPosition() noexcept {
    if (readPosition_ > limit_) readPosition_ = limit_;
  }
  bool takeLength(std::uint32_t& n) noexcept;
  bool takeHeader(unsigned char& tag, std::uint32_t& n) noexcept;
  bool takeHeader(unsigned char& tag, std::uint32_t& n, bool& definite) noexcept;
  bool takeTag(unsigned char& tag) noexcept;
  // Header and content of a value; NULL gives a null view.
  bool takeValue(unsigned char tag, std::span<const unsigned char>& out) noexcept;
  void put(unsigned char byte);
  void putRaw(const void* bytes, std::uint32_t n);
  [[nodiscard]] bool room(std::uint64_t n);

  void allocate(std::uint32_t n);
  void enlarge(std::uint32_t n);
  void fillBehind() noexcept;

  bool takeBitString(std::span<const unsigned char>& bits, unsigned char& unused, unsigned char tag) noexcept;
  bool reassembleOctetString(unsigned char*& bytes, std::uint32_t& n, bool definite);
  bool joinSegments(unsigned char*& bytes, std::uint32_t& n);
  bool sumSegments(std::uint32_t& sum) noexcept;
  bool fillFrom(int descriptor, std::uint64_t n);
  bool decodeText(std::span<const unsigned char> text);

  Block data_;
  std::uint32_t allocated_ = 0;
  std::uint32_t limit_ = 0;
  std::uint32_t readPosition_ = 0;
  std::uint32_t length_ = 0;
  std::uint32_t dirty_ = 0;  // from here, or from length_ if that is greater, the block holds guard values to its end
  int depth_ = 0;
};

}  // namespace keystrand

// Base64 and PEM armour (RFC 7468), in memory, to files and from files.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "keystrand/der/Buffer.h"
#include "support/Base64.h"
#include "support/File.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kRuleAndBreak = "-----\r\n";
constexpr std::size_t kLineLength = 64;

constexpr bool isLineEnd(unsigned char c) {
  return c == '\n' || c == '\r';
}

// What a caller asked of a label: the array, and how much of it is used.
class Label {
 public:
  Label(char* text, std::size_t capacity) : text_(capacity != 0 ? text : nullptr), capacity_(capacity) {
    if (wanted()) text_[0] = '\0';
  }
  [[nodiscard]] bool wanted() const { return text_ != nullptr; }
  void add(unsigned char c) {
    if (used_ + 1 >= capacity_) return;
    text_[used_++] = static_cast<char>(c);
    text_[used_] = '\0';
  }

 private:
  char* text_;
  std::size_t capacity_;
  std::size_t used_ = 0;
};

// --- armour in memory --------------------------------------------------------------------------------------

void skipLineEnds(std::span<const unsigned char>& text) {
  while (!text.empty() && isLineEnd(text.front())) text = text.subspan(1);
}

// Steps over the armour line, up to its line end. The label is taken from one place too far on, without its first
// letter: callers compare it in that form. False when no hyphen ends the label.
bool skipArmourLine(std::span<const unsigned char>& text, Label& label) {
  if (label.wanted()) {
    text = text.subspan(std::min(text.size(), kBegin.size() + 1));
    const std::span<const unsigned char> name = upTo(text, '-');
    if (name.size() == text.size()) return false;
    for (const unsigned char c : name) label.add(c);
    text = text.subspan(name.size());
  }
  text = text.subspan(static_cast<std::size_t>(std::find_if(text.begin(), text.end(), isLineEnd) - text.begin()));
  return true;
}

// Steps over an armour line where the text, behind line ends, begins with one.
bool skipArmour(std::span<const unsigned char>& text, Label& label) {
  skipLineEnds(text);
  return text.empty() || text.front() != '-' || skipArmourLine(text, label);
}

// --- armour in a file --------------------------------------------------------------------------------------

// Reads a file ahead in pieces, and puts its position back to the first byte not taken.
class PieceReader {
 public:
  explicit PieceReader(int descriptor) : descriptor_(descriptor), position_(lseek(descriptor, 0, SEEK_CUR)) {}
  ~PieceReader() {
    if (position_ >= 0) static_cast<void>(lseek(descriptor_, position_ - static_cast<off_t>(ahead_.size()), SEEK_SET));
  }
  PieceReader(const PieceReader&) = delete;
  PieceReader& operator=(const PieceReader&) = delete;

  // What comes next; empty at the end of the file only.
  [[nodiscard]] std::span<const unsigned char> ahead() {
    if (ahead_.empty() && position_ >= 0) {
      const auto from = static_cast<std::uint64_t>(position_);
      ahead_ = std::span(piece_).first(readAllAt(descriptor_, piece_, from).value_or(0));
      position_ += static_cast<off_t>(ahead_.size());
    }
    return ahead_;
  }
  void take(std::size_t n) { ahead_ = ahead_.subspan(n); }
  bool next(unsigned char& c) {
    if (ahead().empty()) return false;
    c = ahead_.front();
    take(1);
    return true;
  }
  // Hands over what stands before `last`, and takes it with `last`; or what is left when `last` does not come.
  template <class Consumer>
  void through(unsigned char last, Consumer consume) {
    while (!ahead().empty()) {
      const std::span<const unsigned char> before = upTo(ahead_, last);
      const bool found = before.size() < ahead_.size();
      consume(before);
      take(before.size() + (found ? 1 : 0));
      if (found) return;
    }
  }
  void dropThrough(unsigned char last) {
    through(last, [](auto) {});
  }

 private:
  int descriptor_;
  off_t position_;  // behind what was read ahead
  std::array<unsigned char, 4096> piece_;
  std::span<const unsigned char> ahead_;
};

// The armour line behind its first hyphen, through its line feed. The label is whole on this route.
void readArmourLine(PieceReader& in, Label& label) {
  unsigned char c = 0;
  for (std::size_t i = 1; label.wanted() && i < kBegin.size(); ++i)
    if (!in.next(c)) return;
  if (label.wanted())
    in.through('-', [&](auto name) { std::for_each(name.begin(), name.end(), [&](auto l) { label.add(l); }); });
  in.dropThrough('\n');
}

std::string armoured(std::span<const unsigned char> bytes, const char* label) {
  const std::string text = encodeBase64(bytes);
  std::string out;
  out.reserve(text.size() + text.size() / kLineLength * 2 + 100);
  if (label != nullptr) out.append(kBegin).append(label).append(kRuleAndBreak);
  for (std::size_t at = 0; at < text.size(); at += kLineLength) out.append(text, at, kLineLength).append("\r\n");
  if (label != nullptr) out.append(kEnd).append(label).append(kRuleAndBreak);
  return out;
}

}  // namespace

// --- in memory ---------------------------------------------------------------------------------------------

owner<char*> Buffer::toBase64() const {
  return data_ == nullptr ? nullptr : newText(encodeBase64(range(0, length_)));
}

bool Buffer::decodeBase64(bool force) {
  if (!force && (length_ == 0 || data_[0] != 'M')) return false;
  std::size_t n = length_;
  const bool decoded = decodeBase64InPlace(data_.get(), data_.get(), n);
  readPosition_ = 0;
  setSize(static_cast<std::uint32_t>(n));
  if (decoded) fillBehind();
  return decoded;
}

// The Base64 text, which lies in the block and ends at a zero byte if one comes, becomes the contents.
bool Buffer::decodeText(std::span<const unsigned char> text) {
  const std::size_t n = decodeBase64To(upTo(text, 0), data_.get());
  setSize(static_cast<std::uint32_t>(n));
  fillBehind();
  return n != 0;
}

bool Buffer::fromPEM(char* label, std::size_t capacity) {
  Label name(label, capacity);
  std::span<const unsigned char> text = range(0, length_);
  if (!skipArmour(text, name)) {
    setSize(0);
    return false;
  }
  skipLineEnds(text);
  return !text.empty() && text.front() == 'M' && decodeText(upTo(text, '-'));
}

// --- files -------------------------------------------------------------------------------------------------

bool Buffer::writePEM(int descriptor, const char* label) const {
  if (descriptor < 0 || data_ == nullptr) return false;
  const std::string text = armoured(range(0, length_), label);
  return writeAll(descriptor, {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

bool Buffer::savePEM(const char* path, const char* label) {
  File file = File::openForWriting(path, kForAll);
  if (!file.isOpen()) return false;
  file.truncate();
  writePEM(file.descriptor(), label);
  return true;
}

bool Buffer::readPEM(int descriptor, char* label, std::size_t capacity) {
  if (!readFrom(descriptor)) return false;
  Label name(label, capacity);
  std::span<const unsigned char> text = range(0, length_);
  return decodeText(skipArmour(text, name) ? upTo(text, '-') : text.first(0));
}

bool Buffer::loadPEM(const char* path, char* label, std::size_t capacity) {
  const File file = File::openForReading(path);
  return file.isOpen() && readPEM(file.descriptor(), label, capacity);
}

bool Buffer::readPEMStream(int descriptor, char* label, std::size_t capacity) {
  const std::optional<std::uint64_t> size = fileSize(descriptor);
  if (!size || *size > kMaxSize) return false;
  reserve(static_cast<std::uint32_t>(*size));
  reset();
  Label name(label, capacity);
  PieceReader in(descriptor);
  unsigned char first = '\n';
  while (isLineEnd(first))
    if (!in.next(first) || first == 0) return false;
  if (first == '-')
    readArmourLine(in, name);
  else
    putRaw(&first, 1);
  in.through('-', [this](auto text) { putRaw(text.data(), static_cast<std::uint32_t>(text.size())); });
  in.dropThrough('\n');
  return decodeText(range(0, length_));
}

bool Buffer::loadPEMStream(const char* path, char* label, std::size_t capacity) {
  const File file = File::openForReading(path);
  return file.isOpen() && readPEMStream(file.descriptor(), label, capacity);
}

}  // namespace keystrand

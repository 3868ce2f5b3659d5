// Regular files through descriptors: opening, the lock on the first byte, whole reads and writes.
//
// Everything here waits out interrupted calls. Folders, FIFOs and devices are refused when a file is opened.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace keystrand {

constexpr mode_t kForAll = 0666;  // less the umask
constexpr mode_t kForOwner = 0600;

// An open file, closed with its owner.
class File {
 public:
  File() = default;
  File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  File& operator=(File&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { close(); }

  [[nodiscard]] static File openForReading(const char* path);
  // Writable where that is allowed, so that it can be locked exclusively.
  [[nodiscard]] static File openForLockedReading(const char* path);
  // Created with this mode, less the umask, where there is none; the contents stay until truncate().
  [[nodiscard]] static File openForWriting(const char* path, mode_t mode);

  [[nodiscard]] bool isOpen() const noexcept { return descriptor_ >= 0; }
  [[nodiscard]] int descriptor() const noexcept { return descriptor_; }
  bool truncate() noexcept;
  // False when what was written could not be kept.
  bool close() noexcept;

 private:
  static File open(const char* path, int flags, mode_t mode);

  int descriptor_ = -1;
};

// The exclusive lock on the first byte, held for a scope. It excludes other processes and every other opening of the
// file in this one, and waits for them. A file open for reading only is locked against writers alone.
class FirstByteLock {
 public:
  explicit FirstByteLock(const File& file);
  ~FirstByteLock();
  FirstByteLock(const FirstByteLock&) = delete;
  FirstByteLock& operator=(const FirstByteLock&) = delete;
  [[nodiscard]] bool held() const noexcept { return held_; }

 private:
  int descriptor_;
  bool held_;
};

// Over any descriptor, -1 included.
[[nodiscard]] std::optional<std::uint64_t> fileSize(int descriptor);
// What is left from the position on.
[[nodiscard]] std::optional<std::uint64_t> bytesToRead(int descriptor);
bool writeAll(int descriptor, std::span<const unsigned char> bytes);
// The number of bytes read: fewer than asked for at the end of the file, nothing when a read fails.
std::optional<std::size_t> readAll(int descriptor, std::span<unsigned char> bytes);
std::optional<std::size_t> readAllAt(int descriptor, std::span<unsigned char> bytes, std::uint64_t position);

// The file of that path becomes these bytes, for its owner alone, in one step: whoever reads it, and whoever finds it
// after a crash, sees all of the old bytes or all of the new ones. They are written to `path` with ".new" behind it
// first. False, and the file as it was, when they cannot be kept. Two replacements at once are for a lock to keep
// apart.
bool replaceFile(const std::string& path, std::span<const unsigned char> bytes);

}  // namespace keystrand

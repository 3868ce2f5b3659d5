// Buffer and plain files.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "keystrand/der/Buffer.h"
#include "support/File.h"

namespace keystrand {

bool Buffer::writeTo(int descriptor) const {
  return descriptor >= 0 && writeAll(descriptor, range(0, length_));
}

bool Buffer::saveFile(const char* path) {
  File file = File::openForWriting(path, kForAll);
  return file.isOpen() && file.truncate() && writeTo(file.descriptor()) && file.close();
}

// Cut only under the lock: before it, a reader may still be there.
bool Buffer::saveFileLocked(const char* path) {
  File file = File::openForWriting(path, kForOwner);
  if (!file.isOpen()) return false;
  {
    const FirstByteLock lock(file);
    if (!lock.held() || !file.truncate() || !writeTo(file.descriptor())) return false;
    static_cast<void>(fchmod(file.descriptor(), kForOwner));  // a file that was there has a mode of its own
  }
  return file.close();
}

// Appends n bytes that the file still has to give; false when it gives fewer.
bool Buffer::fillFrom(int descriptor, std::uint64_t n) {
  if (!room(n)) return false;
  dirty_ = std::max(dirty_, length_ + static_cast<std::uint32_t>(n));
  const std::optional<std::size_t> got = readAll(descriptor, {data_.get() + length_, static_cast<std::size_t>(n)});
  length_ += static_cast<std::uint32_t>(got.value_or(0));
  fillBehind();
  return got == n;
}

bool Buffer::readFrom(int descriptor) {
  const std::optional<std::uint64_t> n = bytesToRead(descriptor);
  if (!n || *n > kMaxSize) return false;
  reset();
  return fillFrom(descriptor, *n);
}

bool Buffer::loadFile(const char* path) {
  const File file = File::openForReading(path);
  return file.isOpen() && readFrom(file.descriptor());
}

bool Buffer::loadFileLocked(const char* path) {
  const File file = File::openForLockedReading(path);
  if (!file.isOpen()) return false;
  const FirstByteLock lock(file);
  return lock.held() && readFrom(file.descriptor());
}

// The step back by one byte is part of the contract; at the start of the file there is none.
bool Buffer::appendFrom(int descriptor, std::uint32_t n) {
  const std::optional<std::uint64_t> size = fileSize(descriptor);
  if (!size || *size < n) return false;
  static_cast<void>(lseek(descriptor, -1, SEEK_CUR));
  return fillFrom(descriptor, n);
}

}  // namespace keystrand

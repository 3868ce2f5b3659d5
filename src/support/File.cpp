#include "support/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace keystrand {

namespace {

template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

std::optional<struct stat> statusOf(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return std::nullopt;
  return status;
}

// Locks of the open file description: they separate two contexts of one process, which those of the process would not,
// and meet the locks of a process that uses those.
bool setLock(int descriptor, short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0;
  lock.l_len = 1;
  return uninterrupted([&] { return fcntl(descriptor, F_OFD_SETLKW, &lock); }) == 0;
}

// Repeats a read or write of what is left until all is done; nothing on failure, less at the end of the file.
template <class Step>
std::optional<std::size_t> transfer(std::size_t size, Step step) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t n = uninterrupted([&] { return step(done); });
    if (n < 0) return std::nullopt;
    if (n == 0) break;
    done += static_cast<std::size_t>(n);
  }
  return done;
}

}  // namespace

// Not blocking, because to open a FIFO would wait for its other end; on regular files that makes no difference.
File File::open(const char* path, int flags, mode_t mode) {
  File file;
  if (path == nullptr) return file;
  file.descriptor_ = uninterrupted([&] { return ::open(path, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode); });
  if (!file.isOpen()) return file;
  const std::optional<struct stat> status = statusOf(file.descriptor_);
  return status && S_ISREG(status->st_mode) ? std::move(file) : File();
}

File File::openForReading(const char* path) {
  return open(path, O_RDONLY, 0);
}

File File::openForLockedReading(const char* path) {
  File file = open(path, O_RDWR, 0);
  if (!file.isOpen() && (errno == EACCES || errno == EPERM || errno == EROFS || errno == ETXTBSY))
    file = openForReading(path);
  return file;
}

File File::openForWriting(const char* path, mode_t mode) {
  return open(path, O_RDWR | O_CREAT, mode);
}

bool File::truncate() noexcept {
  return uninterrupted([this] { return ftruncate(descriptor_, 0); }) == 0;
}

// Not repeated when interrupted: the descriptor is gone all the same.
bool File::close() noexcept {
  const int descriptor = std::exchange(descriptor_, -1);
  return descriptor < 0 || ::close(descriptor) == 0 || errno == EINTR;
}

FirstByteLock::FirstByteLock(const File& file) : descriptor_(file.descriptor()) {
  const int flags = fcntl(descriptor_, F_GETFL);
  held_ = flags != -1 && setLock(descriptor_, (flags & O_ACCMODE) == O_RDONLY ? F_RDLCK : F_WRLCK);
}

// Not left to the closing of the file: a process forked meanwhile would keep the lock.
FirstByteLock::~FirstByteLock() {
  if (held_) setLock(descriptor_, F_UNLCK);
}

std::optional<std::uint64_t> fileSize(int descriptor) {
  const std::optional<struct stat> status = statusOf(descriptor);
  if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(status->st_size);
}

std::optional<std::uint64_t> bytesToRead(int descriptor) {
  const std::optional<std::uint64_t> size = fileSize(descriptor);
  const off_t position = lseek(descriptor, 0, SEEK_CUR);
  if (!size || position < 0) return std::nullopt;
  const auto passed = static_cast<std::uint64_t>(position);
  return *size > passed ? *size - passed : 0;
}

bool writeAll(int descriptor, std::span<const unsigned char> bytes) {
  return transfer(bytes.size(), [&](std::size_t done) {
           return write(descriptor, bytes.data() + done, bytes.size() - done);
         }) == bytes.size();
}

std::optional<std::size_t> readAll(int descriptor, std::span<unsigned char> bytes) {
  return transfer(bytes.size(),
                  [&](std::size_t done) { return read(descriptor, bytes.data() + done, bytes.size() - done); });
}

std::optional<std::size_t> readAllAt(int descriptor, std::span<unsigned char> bytes, std::uint64_t position) {
  return transfer(bytes.size(), [&](std::size_t done) {
    return pread(descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(position + done));
  });
}

namespace {

bool sync(int descriptor) {
  return uninterrupted([descriptor] { return fsync(descriptor); }) == 0;
}

// The folder that a path lies in.
std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// A new name in the folder is kept from then on. Where that fails, as some file systems have it, a crash may bring the
// old file back, whole.
void syncFolder(const std::string& folder) noexcept {
  const int descriptor = uninterrupted([&] { return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  if (descriptor < 0) return;
  sync(descriptor);
  ::close(descriptor);
}

}  // namespace

bool replaceFile(const std::string& path, std::span<const unsigned char> bytes) {
  const std::string fresh = path + ".new";
  const std::string folder = folderOf(path);  // once the file is replaced, nothing may fail any more
  unlink(fresh.c_str());                      // left by a process that ended in the middle
  const int descriptor = uninterrupted(
      [&] { return open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kForOwner); });
  if (descriptor < 0) return false;
  const bool written = writeAll(descriptor, bytes) && sync(descriptor);
  const bool closed = ::close(descriptor) == 0 || errno == EINTR;
  if (!written || !closed || std::rename(fresh.c_str(), path.c_str()) != 0) {
    unlink(fresh.c_str());
    return false;
  }
  syncFolder(folder);
  return true;
}

}  // namespace keystrand

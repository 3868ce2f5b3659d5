// Another opening of a file with a lock on its first byte, by this process (F_OFD_SETLK) or by one that knows only
// classic locks (F_SETLK).
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "support/TestData.h"

namespace keystrand::test {

class FileLockHolder {
 public:
  FileLockHolder(const std::string& path, int command) : file_(open(path.c_str(), O_RDWR | O_CLOEXEC)) {
    struct flock lock = firstByte();
    if (fcntl(file_, command, &lock) != 0) ADD_FAILURE() << "no lock";
  }
  ~FileLockHolder() { close(file_); }
  FileLockHolder(const FileLockHolder&) = delete;
  FileLockHolder& operator=(const FileLockHolder&) = delete;

  void rewrite(const ByteString& bytes) const {
    if (ftruncate(file_, 0) != 0 || pwrite(file_, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
      ADD_FAILURE() << "not written";
  }
  static struct flock firstByte() {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    return lock;
  }

 private:
  int file_;
};

}  // namespace keystrand::test

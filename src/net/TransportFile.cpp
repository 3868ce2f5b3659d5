// The stream of a Transport as a C stream: one of the runtime library's own would raise SIGPIPE when the peer has gone.
#include <fcntl.h>
#include <sys/types.h>

#include <cerrno>
#include <memory>

#include "net/Transport.h"

namespace keystrand {

namespace {

struct Duplicate {
  Socket socket;
  std::int64_t timeout;
};

// What the C library calls for an open stream.
ssize_t writeBytes(void* cookie, const char* bytes, std::size_t n) {
  const auto& [socket, timeout] = *static_cast<const Duplicate*>(cookie);
  const int error = socket.send({reinterpret_cast<const unsigned char*>(bytes), n}, false, Deadline::of(timeout));
  if (error == 0) return static_cast<ssize_t>(n);
  errno = error;
  return 0;
}

int release(void* cookie) {
  delete static_cast<Duplicate*>(cookie);
  return 0;
}

}  // namespace

owner<std::FILE*> Transport::localFile() const {
  Socket socket(fcntl(stream_.number(), F_DUPFD_CLOEXEC, 0));
  if (!socket.isOpen()) return nullptr;
  std::unique_ptr<Duplicate> cookie(new Duplicate{std::move(socket), timeout_});
  std::FILE* file =
      fopencookie(cookie.get(), "w", {.read = nullptr, .write = writeBytes, .seek = nullptr, .close = release});
  if (file != nullptr) static_cast<void>(cookie.release());
  return file;
}

}  // namespace keystrand

#include "net/CurlLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <string_view>

namespace keystrand {

namespace {

// An open file, closed with the block. The opening does not block, because a FIFO that nobody reads would hold the
// transfer for ever; the write does.
class AppendFile {
 public:
  explicit AppendFile(const char* path)
      : descriptor_(open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, S_IRUSR | S_IWUSR)) {
    if (descriptor_ >= 0) fcntl(descriptor_, F_SETFL, O_APPEND);
  }
  ~AppendFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  AppendFile(const AppendFile&) = delete;
  AppendFile& operator=(const AppendFile&) = delete;

  // In one call as a rule, so that entries of several threads do not mix.
  void write(std::string_view text) const {
    while (descriptor_ >= 0 && !text.empty()) {
      const ssize_t n = ::write(descriptor_, text.data(), text.size());
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return;
      text.remove_prefix(static_cast<std::size_t>(n));
    }
  }

 private:
  int descriptor_;
};

std::string prefix() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  char text[32] = "";
  if (localtime_r(&now, &local) != nullptr) std::strftime(text, sizeof text, "%Y:%m:%d %H:%M:%S", &local);
  return "[" + std::string(text) + "][keystrand] ";
}

std::string entryOf(curl_infotype type, std::string_view data) {
  const std::string size = std::to_string(data.size());
  switch (type) {
    case CURLINFO_TEXT:
      return std::string(data);
    case CURLINFO_HEADER_IN:
      return "HEADER_IN: " + std::string(data);
    case CURLINFO_HEADER_OUT:
      return "HEADER_OUT: " + std::string(data);
    case CURLINFO_DATA_IN:
      return "DATA_IN: " + size + " bytes\n";
    case CURLINFO_DATA_OUT:
      return "DATA_OUT: " + size + " bytes\n";
    case CURLINFO_SSL_DATA_IN:
      return "SSL_DATA_IN: size=" + size + "\n";
    case CURLINFO_SSL_DATA_OUT:
      return "SSL_DATA_OUT: size=" + size + "\n";
    default:
      return "Binary stream to display???\n";
  }
}

}  // namespace

int logTransfer(CURL* /*handle*/, curl_infotype type, char* data, std::size_t size, void* path) noexcept try {
  const AppendFile file(static_cast<const std::string*>(path)->c_str());
  file.write(prefix() + entryOf(type, {data, size}));
  return 0;
} catch (...) {
  return 0;
}

}  // namespace keystrand

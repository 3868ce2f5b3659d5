#include "net/PACScript.h"

#include <pacparser.h>

#include <algorithm>
#include <cstdarg>
#include <mutex>

namespace keystrand {

namespace {

constexpr std::string_view kHostMarks = ".-_:[]";
constexpr std::string_view kUpperHex = "0123456789ABCDEF";

bool isAlphanumeric(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// The interpreter puts URL and host between quotes into the text that it runs, so nothing may end the quotes: both come
// from certificates.
std::string quotable(std::string_view url) {
  std::string coded;
  for (const char c : url) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte <= 0x20 || byte >= 0x7F || c == '\'' || c == '"' || c == '\\')
      coded += {'%', kUpperHex[byte >> 4], kUpperHex[byte & 0x0F]};
    else
      coded += c;
  }
  return coded;
}

bool isQuotableHost(std::string_view host) {
  return std::all_of(host.begin(), host.end(),
                     [](char c) { return isAlphanumeric(c) || kHostMarks.find(c) != std::string_view::npos; });
}

int printNothing(const char* /*format*/, va_list /*arguments*/) {
  return 0;
}

// There is one interpreter in the process, which holds one script.
class Interpreter {
 public:
  static Interpreter& instance() {
    static auto& interpreter = *new Interpreter;
    return interpreter;
  }

  // `owner` tells the scripts apart.
  std::optional<std::string> run(const void* owner, const std::string& script, const std::string& url,
                                 const std::string& host) {
    const std::lock_guard lock(mutex_);
    if (!load(owner, script)) return std::nullopt;
    const char* found = pacparser_find_proxy(url.c_str(), host.c_str());
    return found != nullptr ? std::optional<std::string>(found) : std::nullopt;
  }

  bool compile(const void* owner, const std::string& script) {
    const std::lock_guard lock(mutex_);
    return load(owner, script);
  }

  void forget(const void* owner) {
    const std::lock_guard lock(mutex_);
    if (loaded_ == owner) unload();
  }

 private:
  Interpreter() { pacparser_set_error_printer(&printNothing); }

  bool load(const void* owner, const std::string& script) {
    if (loaded_ == owner) return true;
    if (loaded_ != nullptr) unload();
    if (pacparser_init() == 0) return false;
    loaded_ = owner;
    if (pacparser_parse_pac_string(script.c_str()) != 0) return true;
    unload();
    return false;
  }

  void unload() {
    pacparser_cleanup();
    loaded_ = nullptr;
  }

  std::mutex mutex_;  // a leaf, held while a script runs
  const void* loaded_ = nullptr;
};

class PACScript : public ProxyScript {
 public:
  explicit PACScript(std::string text) : text_(std::move(text)) {}
  PACScript(const PACScript&) = delete;
  PACScript& operator=(const PACScript&) = delete;
  ~PACScript() override { Interpreter::instance().forget(this); }

  [[nodiscard]] bool compiles() const { return Interpreter::instance().compile(this, text_); }
  [[nodiscard]] std::optional<std::string> find(const std::string& url, const std::string& host) const override {
    if (!isQuotableHost(host)) return std::nullopt;
    return Interpreter::instance().run(this, text_, quotable(url), host);
  }

 private:
  const std::string text_;
};

}  // namespace

std::unique_ptr<ProxyScript> compilePAC(std::string text) {
  auto script = std::make_unique<PACScript>(std::move(text));
  if (!script->compiles()) return nullptr;
  return script;
}

}  // namespace keystrand

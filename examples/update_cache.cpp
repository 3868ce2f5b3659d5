// Brings the whole table of CRLs up to date, and prints a line for each row while it does.
//
//   update_cache --data DIR --log FILE [--load] [--save] [--ca FILE]...
//
// An empty table is filled from the distribution points of the CA certificates; of a table loaded from DIR those CRLs
// are fetched that have expired or changed at their server. The log tells which CRL is being fetched: the lines here
// follow it. Written with the public headers alone, as a client of the library would.
#include <keystrand/keystrand.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

struct ReleaseContext {
  void operator()(void* context) const { cache_releaseContext(context); }
};
using Context = std::unique_ptr<void, ReleaseContext>;

struct Options {
  std::string data;
  std::string log;
  bool load = false;
  bool save = false;
  std::vector<std::string> cas;
};

// What the messages of the log say of the rows, one line for each as soon as it is known what became of it.
class Progress {
 public:
  explicit Progress(const std::string& log) : log_(log) { log_.seekg(0, std::ios::end); }
  // Reads what has been logged since.
  void follow() {
    for (std::string line; std::getline(log_, line);) take(line.substr(std::min(line.find("]: ") + 3, line.size())));
    log_.clear();
  }
  void end() {
    follow();
    print();
  }

 private:
  void take(const std::string& message) {
    constexpr const char* kAddress = "CRL: ";
    if (message.starts_with("Start CRL timestamp request")) {
      print();
      address_ = "a CRL of the table";
      outcome_ = "unchanged at its server";
      asked_ = true;
    } else if (message.starts_with(kAddress)) {
      if (!asked_) print();
      asked_ = false;
      address_ = message.substr(std::string_view(kAddress).size());
      outcome_ = "NOT taken: not downloaded, or no known CA signed it";
    } else if (message == "End of CRL check") {
      outcome_ = "verified, no newer than what the cache holds";
    } else if (message == "New CRL added to cache") {
      outcome_ = "verified, added";
    } else if (message == "CRL in the cache has been updated") {
      outcome_ = "verified, newer: replaces the one in the cache";
    }
  }
  void print() {
    if (!address_.empty())
      std::cout << "  " << std::setw(4) << ++row_ << "  " << address_ << "\n        " << outcome_ << std::endl;
    address_.clear();
    asked_ = false;
  }

  std::ifstream log_;
  int row_ = 0;
  std::string address_;
  std::string outcome_;
  bool asked_ = false;  // the row's server, for the time of its CRL
};

bool parse(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--load" || flag == "--save") {
      (flag == "--load" ? options.load : options.save) = true;
      continue;
    }
    if (i + 1 == argc) return false;
    const std::string value = argv[++i];
    if (flag == "--data")
      options.data = value;
    else if (flag == "--log")
      options.log = value;
    else if (flag == "--ca")
      options.cas.push_back(value);
    else
      return false;
  }
  return !options.data.empty() && !options.log.empty();
}

// The update in a thread of its own: it returns when the last row is done.
bool update(void* context, const std::string& log) {
  Progress progress(log);
  std::atomic<bool> done = false;
  bool updated = false;
  std::thread worker([&] {
    updated = cache_updateCRLCache(context) == 1;
    done = true;
  });
  while (!done) {
    progress.follow();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  worker.join();
  progress.end();
  return updated;
}

bool run(Options& options) {
  std::string ident = "update_cache";
  cache_setLang(1);
  cache_enableLog(7);
  cache_init(options.data.data(), nullptr, ident.data(), options.log.data());
  bool updated = false;
  {
    const Context context(cache_getContext());
    if (options.load) {
      cache_loadCACertList(context.get());
      cache_loadCRLCache(context.get());
    }
    for (std::string& path : options.cas) cache_addCACert(context.get(), path.data());
    std::cout << "  " << cache_getCACertsNum(context.get()) << " CAs in the list" << std::endl;
    updated = update(context.get(), options.log);
    std::cout << "  " << (updated ? "up to date" : "NOT up to date: the log says why") << "\n";
    if (options.save && cache_isCRLCacheModified()) {
      const bool saved = cache_saveCACertList(context.get()) == 1 && cache_saveCRLCache(context.get()) == 1;
      std::cout << "  CA list and CRLs " << (saved ? "saved in " : "NOT saved in ") << options.data << "\n";
    }
  }
  cache_finalize();
  return updated;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, options)) {
    std::cerr << "usage: update_cache --data DIR --log FILE [--load] [--save] [--ca FILE]...\n";
    return 2;
  }
  return run(options) ? 0 : 1;
}

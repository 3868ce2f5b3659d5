#include "net/RootStore.h"

#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "net/EmbeddedRoots.h"
#include "support/Memory.h"

namespace keystrand {

namespace {

using Bio = std::unique_ptr<BIO, Releaser<&BIO_free_all>>;
using Root = std::unique_ptr<X509, Releaser<&X509_free>>;

std::vector<Root> readRoots() {
  std::vector<Root> roots;
  for (const char* text : embeddedRoots()) {
    const Bio in(BIO_new_mem_buf(text, -1));
    Root root(in != nullptr ? PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr) : nullptr);
    if (root != nullptr)
      roots.push_back(std::move(root));
    else
      std::fputs("PEM_read_bio_X509 failed...\n", stdout);
  }
  return roots;
}

// Decoding them costs many times what a request does, so it is done once. Never destroyed: stores of requests that
// still run while the process exits refer to them.
const std::vector<Root>& roots() {
  static const auto& instance = *new std::vector<Root>(readRoots());
  return instance;
}

}  // namespace

void addEmbeddedRoots(void* sslContext) noexcept try {
  X509_STORE* store = SSL_CTX_get_cert_store(static_cast<SSL_CTX*>(sslContext));
  for (const Root& root : roots())
    if (X509_STORE_add_cert(store, root.get()) != 1) std::fputs("error adding certificate\n", stdout);
} catch (...) {
  std::fputs("error adding certificate\n", stdout);
}

}  // namespace keystrand

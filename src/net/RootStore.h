// The TLS roots that come with the library: data/roots, in the order of its file names.
#pragma once

namespace keystrand {

// Adds every root to the store of an SSL_CTX. A root that cannot be read or added is told on standard output, and the
// others follow. Thread: any.
void addEmbeddedRoots(void* sslContext) noexcept;

}  // namespace keystrand

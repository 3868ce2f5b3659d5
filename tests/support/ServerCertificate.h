// The certificate that the test servers show.
#pragma once

#include <filesystem>

namespace keystrand::test {

// Writes a new P-256 key and a certificate nobody should trust: self-signed, for another host, expired.
void writeServerCertificate(const std::filesystem::path& certificate, const std::filesystem::path& key);

}  // namespace keystrand::test

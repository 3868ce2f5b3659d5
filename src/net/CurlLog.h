// The debug log of the libcurl client.
#pragma once

#include <curl/curl.h>

#include <cstddef>

namespace keystrand {

// A CURLOPT_DEBUGFUNCTION; its CURLOPT_DEBUGDATA is the path, a const std::string*. The file is opened, appended to and
// closed with each entry, created for its owner alone since it shows credentials; a failure to write loses the entry.
int logTransfer(CURL* handle, curl_infotype type, char* data, std::size_t size, void* path) noexcept;

}  // namespace keystrand

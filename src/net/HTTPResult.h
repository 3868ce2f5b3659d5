// What the functions of both HTTP clients answer with.
#pragma once

#include <string_view>

namespace keystrand {

// Result words of the sending functions; any other value is the HTTP status.
constexpr int kURLRefused = 10;
constexpr int kTransferFailed = 11;

// Stands for the modification time of a server that tells none.
constexpr std::string_view kNoModificationTime = "thu, 01 jan 1970 00:00:01 gmt";

}  // namespace keystrand

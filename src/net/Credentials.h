// A user name with its password.
#pragma once

#include <optional>
#include <string>

namespace keystrand {

struct Credentials {
  std::string user;
  std::string password;
};

// Nothing when either is null.
inline std::optional<Credentials> credentialsOf(const char* user, const char* password) {
  if (user == nullptr || password == nullptr) return std::nullopt;
  return Credentials{user, password};
}

}  // namespace keystrand

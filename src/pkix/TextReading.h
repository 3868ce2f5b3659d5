// Texts under a tag of their own, kept up to their first NUL octet, so that what is written has the size announced.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "keystrand/der/Buffer.h"

namespace keystrand {

using OptionalText = std::optional<std::string>;

inline const char* textOrNull(const OptionalText& text) noexcept {
  return text ? text->c_str() : nullptr;
}

inline void storeText(OptionalText& target, const char* text) {
  if (text != nullptr) {
    target = text;
  } else {
    target.reset();
  }
}

inline bool readText(OptionalText& target, Buffer& in, unsigned char tag) {
  char* text = nullptr;
  const bool read = in.getText(text, tag);
  const std::unique_ptr<char[]> owned(text);
  storeText(target, text);
  return read;
}

}  // namespace keystrand

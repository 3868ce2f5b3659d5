// Texts in place: what Buffer::getText would copy, without the copy.
#pragma once

#include <span>
#include <string_view>

#include "der/StringTags.h"
#include "keystrand/der/Buffer.h"

namespace keystrand {

// The part of a text in front of its first NUL. Texts are NUL-terminated in the model, so that is all of it.
inline std::string_view untilNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

inline std::string_view textOrEmpty(const char* text) {
  return text == nullptr ? std::string_view() : text;
}

// Reads the value of any tag in place; the caller looks at the tag that was found. A NULL stands for any absent value
// and gives an empty span, and true. The span is valid until the Buffer changes. False when the value would run past
// the data.
inline bool viewValue(Buffer& in, unsigned char& tag, std::span<const unsigned char>& content) {
  std::uint32_t n = 0;
  content = {};
  return in.getHeader(tag, n) && (tag == kNull || in.view(n, content));
}

// The same for a text. A NULL gives a view without data.
inline bool viewText(Buffer& in, unsigned char& tag, std::string_view& text) {
  std::span<const unsigned char> content;
  text = {};
  if (!viewValue(in, tag, content)) return false;
  if (tag == kNull) return true;
  text = content.empty() ? "" : untilNul({reinterpret_cast<const char*>(content.data()), content.size()});
  return true;
}

}  // namespace keystrand

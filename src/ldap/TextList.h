// A list of texts: attribute descriptions (RFC 4511 section 4.1.4) and URIs (section 4.1.10).
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ldap/Coding.h"

namespace keystrand {

class TextList {
 public:
  void add(std::string_view text) { texts_.emplace_back(text); }
  [[nodiscard]] const std::vector<std::string>& texts() const noexcept { return texts_; }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag = kSequence) const {
    return sizeListOf(buffer, texts_, tag);
  }
  void encode(Buffer& buffer, unsigned char tag = kSequence) const { putListOf(buffer, texts_, tag); }
  bool decode(Buffer& in, unsigned char tag = kSequence) { return getListOf(in, texts_, tag); }

 private:
  std::vector<std::string> texts_;
};

using AttrDescrList = TextList;  // AttributeSelection of a search
using URLList = TextList;        // Referral, SearchResultReference

}  // namespace keystrand

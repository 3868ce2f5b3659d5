// SubstringFilter (RFC 4511 section 4.5.1.7.2): pieces of a value in their order, the first and the last tied to its
// ends.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ldap/Coding.h"

namespace keystrand {

class SubstringFilter {
 public:
  SubstringFilter() = default;
  explicit SubstringFilter(std::string_view type) : type_(type) {}

  void setInitial(std::string_view piece) { initial_ = piece; }
  void addAny(std::string_view piece) { any_.emplace_back(piece); }
  void setFinal(std::string_view piece) { final_ = piece; }
  [[nodiscard]] const std::string& type() const noexcept { return type_; }
  // The pieces with a star at each gap: "initial*any*final".
  [[nodiscard]] std::string pattern() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void encode(Buffer& buffer, unsigned char tag) const;
  bool decode(Buffer& in, unsigned char tag);

 private:
  [[nodiscard]] std::uint32_t piecesSize(const Buffer& buffer) const;
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  bool decodePieces(Buffer& in);

  std::string type_;
  std::optional<std::string> initial_;
  std::vector<std::string> any_;
  std::optional<std::string> final_;
};

}  // namespace keystrand

// Base64 (RFC 4648 section 4): the encoders, and the two decoders whose tolerance callers rely on.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "support/Memory.h"

namespace keystrand {

// No line breaks.
std::string encodeBase64(std::span<const unsigned char> bytes);
// A line feed after every 64 characters, none at the end.
std::string encodeBase64Lines(std::span<const unsigned char> bytes);
// Lenient: every character outside the alphabet is passed over. Nothing when no byte comes out.
std::optional<Bytes> decodeBase64(std::span<const unsigned char> text);
// Strict about padding and groups; target may be source. False, with n 0, on failure.
bool decodeBase64InPlace(const unsigned char* source, unsigned char* target, std::size_t& n);

}  // namespace keystrand

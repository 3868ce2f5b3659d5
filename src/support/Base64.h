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
// Lenient: every character outside the alphabet is passed over, padding and line ends among them, and so are bits that
// fill no byte. Nothing when no byte comes out.
std::optional<Bytes> decodeBase64(std::span<const unsigned char> text);
// The same into memory of at least 3/4 of the text's size, which may begin where the text begins or before it. Returns
// the number of bytes written.
std::size_t decodeBase64To(std::span<const unsigned char> text, unsigned char* target);
// Strict: characters and padding together make groups of four, '=' stands not at the first two places, and one at the
// third place of a group has the next right behind it; characters of neither kind are passed over. Padded texts may
// follow one another as long as no bits get lost between them. n is the size of the text going in and of the bytes
// coming out; target may be source. On failure n is 0 and nothing was written.
bool decodeBase64InPlace(const unsigned char* source, unsigned char* target, std::size_t& n);

}  // namespace keystrand

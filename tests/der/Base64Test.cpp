#include <gmock/gmock.h>
#include <openssl/evp.h>

#include "der/BufferContents.h"
#include "support/Base64.h"

namespace keystrand::test {
namespace {

std::optional<ByteString> lenient(const std::string& text) {
  return decodeBase64(bytesOf(text));
}

std::optional<ByteString> strict(const std::string& text) {
  ByteString bytes = bytesOf(text);
  bytes.push_back('!');
  std::size_t n = text.size();
  if (!decodeBase64InPlace(bytes.data(), bytes.data(), n)) {
    EXPECT_EQ(n, 0U) << text;
    EXPECT_EQ(ByteString(bytes.begin(), bytes.end() - 1), bytesOf(text)) << "a refused text is still there";
    return std::nullopt;
  }
  bytes.resize(n);
  return bytes;
}

TEST(Base64, EveryLengthAndByteAsOpenSSLCodesIt) {
  ByteString plain;
  for (int i = 0; i < 600; ++i) plain.push_back(static_cast<unsigned char>(i * 151 + i / 256));
  for (std::size_t n = 1; n <= plain.size(); n += n < 20 ? 1 : 37) {
    const ByteString part(plain.begin(), plain.begin() + static_cast<std::ptrdiff_t>(n));
    std::string expected(n * 2 + 4, '\0');
    expected.resize(static_cast<std::size_t>(
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(expected.data()), part.data(), static_cast<int>(n))));
    EXPECT_EQ(encodeBase64(part), expected);
    EXPECT_EQ(lenient(expected), part);
    EXPECT_EQ(strict(expected), part);
    std::string lines;
    for (std::size_t at = 0; at < expected.size(); at += 64) lines += (at != 0 ? "\n" : "") + expected.substr(at, 64);
    EXPECT_EQ(encodeBase64Lines(part), lines);
    EXPECT_EQ(lenient(lines), part);
  }
}

TEST(Base64, WhatTheDecodersTolerate) {
  struct Row {
    const char *name, *text;
    std::optional<const char*> lenient;  // hexadecimal
    std::optional<const char*> strict;
  };
  const auto no = std::nullopt;
  const auto bytes = [](const auto& digits) { return digits ? std::optional(hex(*digits)) : std::nullopt; };
  for (const Row& row :
       {Row{"nothing", "", no, no}, Row{"blanks and line ends", " QU\r\n JD\t", "414243", "414243"},
        Row{"the URL alphabet", "-_-_", no, no}, Row{"no padding", "QQ", "41", no}, Row{"one character", "A", no, no},
        Row{"one character too many", "QUJDQ", "414243", no}, Row{"padding alone", "====", no, no},
        Row{"padding behind one character", "Q===", no, no}, Row{"padding behind a full group", "QUJD=", "414243", no},
        Row{"a group of padding", "QUJD====", "414243", "414243"},
        Row{"padding as one place of a later group", "QUJD=QUJ", "4142434142", "4142434142"},
        Row{"too much padding", "QUI==", "4142", no}, Row{"half the padding, then more", "QQ=A", "4100", no},
        Row{"half the padding", "QQ=", "41", no}, Row{"a line end inside the padding", "QQ=\n=", "41", no},
        Row{"texts in a row that lose no bits", "QUI=QUI=", "41421050", "41424142"},
        Row{"texts in a row that lose bits", "QQ==QQ==", "410410", no}}) {
    EXPECT_EQ(lenient(row.text), bytes(row.lenient)) << row.name;
    EXPECT_EQ(strict(row.text), bytes(row.strict)) << row.name;
  }
}

}  // namespace
}  // namespace keystrand::test

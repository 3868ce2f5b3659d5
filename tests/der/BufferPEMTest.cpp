#include <fcntl.h>
#include <gmock/gmock.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <fstream>

#include "der/BufferContents.h"
#include "support/Base64.h"
#include "support/Builders.h"
#include "support/TempFolder.h"

namespace keystrand::test {
namespace {

// A SEQUENCE of n octets in all, whose Base64 begins with M.
ByteString sequenceOf(std::size_t n) {
  ByteString der = {0x30, 0x82, static_cast<unsigned char>((n - 4) >> 8), static_cast<unsigned char>(n - 4)};
  for (std::size_t i = 4; i < n; ++i) der.push_back(static_cast<unsigned char>(i * 7));
  return der;
}

std::string pemByOpenSSL(const ByteString& der, const std::string& label = "CERTIFICATE") {
  const ByteString text = toPEM(der, label);
  return {text.begin(), text.end()};
}

// The routes from armour to bytes, each with the label that it gives.
struct Reading {
  bool ok = false;
  ByteString bytes;
  std::string label;
};

class BufferPEM : public ::testing::Test {
 protected:
  [[nodiscard]] std::string file(const std::string& text) const {
    std::ofstream(folder_ / "file", std::ios::binary) << text;
    return folder_ / "file";
  }
  static Reading inMemory(const std::string& text) {
    return reading(text, [](Buffer& in, char* label, std::size_t n) { return in.fromPEM(label, n); });
  }
  [[nodiscard]] Reading asAWhole(const std::string& text) const { return fromFile(text, &Buffer::loadPEM); }
  [[nodiscard]] Reading asAStream(const std::string& text) const { return fromFile(text, &Buffer::loadPEMStream); }

  TempFolder folder_;

 private:
  Reading fromFile(const std::string& text, bool (Buffer::*load)(const char*, char*, std::size_t)) const {
    const std::string path = file(text);
    return reading("", [&](Buffer& in, char* label, std::size_t n) { return (in.*load)(path.c_str(), label, n); });
  }
  template <class Route>
  static Reading reading(const std::string& text, Route route) {
    Holding in(bytesOf(text));
    char label[64] = "unset";
    const bool ok = route(in, label, sizeof label);
    return {ok, held(in), label};
  }
};

TEST_F(BufferPEM, ReadsWhatOpenSSLWrites) {
  for (const std::size_t n : {300U, 301U, 302U, 3000U, 60000U}) {
    const ByteString der = sequenceOf(n);
    const std::string pem = pemByOpenSSL(der);
    EXPECT_EQ(inMemory(pem).bytes, der);
    EXPECT_EQ(asAWhole(pem).bytes, der);
    EXPECT_EQ(asAStream(pem).bytes, der);
    EXPECT_EQ(asAStream("\r\n\n" + pem).bytes, der) << "empty lines before";
  }
}

// Two of the routes begin the label one place too late; callers compare what they give.
TEST_F(BufferPEM, LabelsOfEachRoute) {
  const std::string pem = pemByOpenSSL(sequenceOf(300));
  EXPECT_EQ(inMemory(pem).label, "ERTIFICATE");
  EXPECT_EQ(asAWhole(pem).label, "ERTIFICATE");
  EXPECT_EQ(asAStream(pem).label, "CERTIFICATE");

  char cut[5] = {};
  Holding in(bytesOf(pem));
  EXPECT_TRUE(in.fromPEM(cut, sizeof cut));
  EXPECT_STREQ(cut, "ERTI");
  EXPECT_TRUE(in.loadPEMStream(file(pem).c_str(), cut, sizeof cut));
  EXPECT_STREQ(cut, "CERT");
  char none = 'x';
  EXPECT_TRUE(in.loadPEMStream(file(pem).c_str(), &none, 0));
  EXPECT_EQ(none, 'x');
}

TEST_F(BufferPEM, IsWrittenInLinesWithCRLFOfWhichNoneIsEmpty) {
  const std::string path = folder_ / "out";
  for (const std::size_t n : {48U, 49U, 96U, 1000U}) {  // 48 octets fill a line
    Holding out(sequenceOf(n));
    EXPECT_TRUE(out.savePEM(path.c_str(), "CERTIFICATE"));
    const ByteString text = readFile(path);
    EXPECT_EQ(fromPEM({text.begin(), text.end()}), held(out)) << n;
  }
  const std::string line = std::string(64, 'A') + "\r\n";
  EXPECT_TRUE(Holding(ByteString(48, 0)).savePEM(path.c_str(), "X"));
  EXPECT_EQ(readFile(path), bytesOf("-----BEGIN X-----\r\n" + line + "-----END X-----\r\n"));
  EXPECT_TRUE(Holding(ByteString(49, 0)).savePEM(path.c_str(), nullptr));
  EXPECT_EQ(readFile(path), bytesOf(line + "AA==\r\n"));
  EXPECT_FALSE(Holding("01").writePEM(-1, nullptr));
  EXPECT_TRUE(Buffer().savePEM(path.c_str(), "X")) << "a file that could be opened is success";
  EXPECT_TRUE(readFile(path).empty());
}

TEST_F(BufferPEM, WhatEachRouteMakesOfOddText) {
  const ByteString der = sequenceOf(300);
  const std::string pem = pemByOpenSSL(der);
  const std::string bare = pem.substr(pem.find('\n') + 1, pem.rfind("-----END") - pem.find('\n') - 1);
  const ByteString withoutALine(der.begin() + 48, der.end());  // a line less: the stream knows the line feed only
  const ByteString nothing;
  struct Row {
    const char* name;
    std::string text;
    ByteString inMemory, asAWhole, asAStream;
  };
  const std::string zero(1, '\0');
  for (const Row& row : {
           Row{"no armour", bare, der, der, der},
           Row{"line ends of old systems", "-----BEGIN X-----\r" + bare + "-----END", der, der, withoutALine},
           Row{"empty line behind the armour", "-----BEGIN X-----\n\n\r\n" + bare, der, der, der},
           Row{"a blank before the text", "-----BEGIN X-----\n " + bare, bytesOf("-----BEGIN X-----\n " + bare), der,
               der},
           Row{"no END", "-----BEGIN X-----\n" + bare, der, der, der},
           Row{"a zero byte ends the text", "-----BEGIN X-----\nMAAA" + zero + "AAAA", hex("300000"), hex("300000"),
               hex("300000")},
           // letters of the preamble belong to the alphabet: it is decoded up to the first hyphen
           Row{"text before the armour", "ABCD\n" + pem, bytesOf("ABCD\n" + pem), hex("001083"), hex("001083")},
           Row{"one hyphen", "-", nothing, nothing, nothing},
           Row{"hyphens alone", "-----", nothing, nothing, nothing},
           Row{"a label without an end", "-----BEGIN CERTIFICATE\n" + bare, nothing, nothing, nothing},
           Row{"nothing", "", nothing, nothing, nothing},
           Row{"line ends alone", "\r\n\r\n", bytesOf("\r\n\r\n"), nothing, nothing},
           Row{"a zero byte first", "\n" + zero + bare, bytesOf("\n" + zero + bare), nothing, nothing},
       }) {
    EXPECT_EQ(inMemory(row.text).bytes, row.inMemory) << row.name;
    EXPECT_EQ(inMemory(row.text).ok, row.inMemory != nothing && row.inMemory != bytesOf(row.text)) << row.name;
    EXPECT_EQ(asAStream(row.text).bytes, row.asAStream) << row.name;
    EXPECT_EQ(asAWhole(row.text).bytes, row.asAWhole) << row.name;
  }
}

// Text behind the last armour is one more block to the stream, and a bad one.
TEST_F(BufferPEM, StreamGivesOneArmourAfterAnother) {
  const ByteString first = sequenceOf(5000);
  const ByteString second = sequenceOf(300);
  const std::string text = pemByOpenSSL(first) + pemByOpenSSL(second, "X509 CRL") + "\n" + pemByOpenSSL(first, "Z");
  const int in = open(file(text + "trailing").c_str(), O_RDONLY | O_CLOEXEC);
  Buffer buffer;
  char label[20];
  EXPECT_TRUE(buffer.readPEMStream(in, label, sizeof label));
  EXPECT_EQ(held(buffer), first);
  EXPECT_EQ(lseek(in, 0, SEEK_CUR), static_cast<off_t>(pemByOpenSSL(first).size())) << "just behind it";
  EXPECT_TRUE(buffer.readPEMStream(in, label, sizeof label));
  EXPECT_EQ(held(buffer), second);
  EXPECT_STREQ(label, "X509 CRL");
  EXPECT_TRUE(buffer.readPEMStream(in, label, sizeof label));
  EXPECT_EQ(held(buffer), first);
  EXPECT_TRUE(buffer.readPEMStream(in));
  EXPECT_EQ(buffer.size(), 6U);
  EXPECT_FALSE(buffer.readPEMStream(in, label, sizeof label));
  EXPECT_EQ(buffer.size(), 0U);
  close(in);
}

TEST_F(BufferPEM, FromPEMLeavesTheCursor) {
  Holding in(bytesOf(pemByOpenSSL(sequenceOf(300))));
  in.setReadPosition(5);
  EXPECT_TRUE(in.fromPEM());
  EXPECT_EQ(in.readPosition(), 5U);
  in.setReadPosition(300);
  EXPECT_EQ(in.peekByte(), 1) << "nothing of the text is left behind the bytes";
}

// --- Base64 without armour ---------------------------------------------------------------------------------

TEST(BufferBase64, TextOfASequenceIsDecodedInPlace) {
  const ByteString der = sequenceOf(300);
  Holding in(der);
  const std::string text = taken(in.toBase64());
  EXPECT_EQ(text[0], 'M');
  fill(in, bytesOf(text));
  in.setReadPosition(7);
  EXPECT_TRUE(in.decodeBase64());
  EXPECT_EQ(held(in), der);
  EXPECT_EQ(in.readPosition(), 0U);
}

TEST(BufferBase64, OtherTextWantsToBeForced) {
  for (const char* text : {"QUJD", "0123", ""}) {
    Holding in(bytesOf(text));
    EXPECT_FALSE(in.decodeBase64()) << text;
    EXPECT_EQ(held(in), bytesOf(text));
  }
  Holding in(bytesOf("QUJD"));
  EXPECT_TRUE(in.decodeBase64(true));
  EXPECT_EQ(held(in), bytesOf("ABC"));
  EXPECT_FALSE(Buffer().decodeBase64(true));
  EXPECT_EQ(Buffer().toBase64(), nullptr);
  EXPECT_EQ(taken(Buffer(0).toBase64()), "");
}

// A body that begins with M and is no strict Base64 may be something else: it can be had back.
TEST(BufferBase64, RefusedTextCanBeHadBack) {
  Holding in(bytesOf("MAAAA"));
  EXPECT_FALSE(in.decodeBase64());
  EXPECT_EQ(in.size(), 0U);
  in.setSize(5);
  EXPECT_TRUE(in.fromPEM());
  EXPECT_EQ(held(in), hex("300000"));
}

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

// Messages as OpenLDAP 2.5 exchanges them: requests of its command-line clients, answers of slapd, recorded on the
// wire.
#pragma once

#include <string>
#include <vector>

#include "ldap/LDAPMessage.h"
#include "support/Builders.h"

namespace keystrand::test {

struct Recorded {
  const char* name;
  unsigned char tag;
  const char* hex;
};

// ldapsearch '(&(|(cn=Old)(cn=a*b*c)(cn=*x*))(!(sn>=Z))(sn<=T)(cn~=old)(cn:dn:caseExactMatch:=Old)(objectClass=*))',
// with limits and a control.
constexpr const char* kEveryFilter =
    "3081bf0201026381940404633d49540a01020a0100020107020109010100a073a127a3090402636e04034f6c64a40f0402636e300980016181"
    "0162"
    "820163a4090402636e3003810178a209a5070402736e04015aa6070402736e040154a8090402636e04036f6c64a91c810e6361736545786163"
    "7"
    "44d617463688202636e83034f6c648401ff870b6f626a656374436c61737330080402636e0402736ea02330210416312e322e3834302e31313"
    "3"
    "3535362e312e342e3331390407300502010a0400";

inline const std::vector<Recorded>& recordedMessages() {
  static const std::vector<Recorded> messages = {
      {"anonymous bind", 0x60, "300c020101600702010304008000"},
      {"simple bind", 0x60, "301f020101601a020103040d636e3d61646d696e2c633d49548006736563726574"},
      {"SASL bind", 0x60, "301602010160110201030400a30a04084352414d2d4d4435"},
      {"SASL bind with credentials", 0x60, "301a02010260150201030400a30e04084352414d2d4d443504027820"},
      {"bind accepted", 0x61, "300c02010161070a010004000400"},
      {"SASL challenge", 0x61,
       "303f020101613a0a010e0400041c5341534c2830293a207375636365737366756c20726573756c743a2087153c363036383638363"
       "9362e31313739323440766d3e"},
      {"bind refused", 0x61,
       "303c02010261370a0131040004305341534c282d3133293a2075736572206e6f7420666f756e643a206e6f20736563726574206"
       "96e206461746162617365"},
      {"unbind", 0x42, "30050201034200"},
      {"search for everything", 0x63,
       "302902010263240404633d49540a01020a0100020100020100010100870b6f626a656374636c6173733000"},
      {"search with every filter and a control", 0x63, kEveryFilter},
      {"entry", 0x64,
       "306602010264610413636e3d4f6c642c6f3d50726f76612c633d4954304a3017040b6f626a656374436c61737331080406706572736f"
       "6e300b0402636e310504034f6c6430090402736e31030401543017040b6465736372697074696f6e31080402643104026432"},
      {"search done", 0x65, "300c02010265070a010004000400"},
      {"no such object", 0x65, "300c02010265070a012004000400"},
      {"reference", 0x73,
       "3032020102732d042b6c6461703a2f2f6f746865722e6578616d706c652f6f753d656c736577686572652c633d49543f3f737562"},
      {"modify", 0x66,
       "304a02010266450413636e3d4f6c642c6f3d50726f76612c633d4954302e300e0a010230090402736e3103040154301c0a0100301704"
       "0b6465736372697074696f6e31080402643104026432"},
      {"modified", 0x67, "300c02010267070a010004000400"},
      {"add", 0x68,
       "303f020102683a0404633d495430323025040b6f626a656374436c61737331160407636f756e747279040b706c61696e4973737565723"
       "009040163310404024954"},
      {"added", 0x69, "300c02010269070a010004000400"},
      {"delete with a control", 0x4A,
       "302d0201024a0b636e3d4e65772c633d4954a01b30190417322e31362e3834302e312e3131333733302e332e342e32"},
      {"deleted", 0x6B, "300c0201026b070a010004000400"},
      {"rename to another place", 0x6C,
       "302b0201026c260413636e3d4f6c642c6f3d50726f76612c633d49540406636e3d4e65770101ff8004633d4954"},
      {"renamed", 0x6D, "300c0201026d070a010004000400"},
      {"compare", 0x6E, "301b0201026e16040b636e3d4e65772c633d495430070402736e040154"},
      {"compared: true", 0x6F, "300c0201026f070a010604000400"},
      {"who am I", 0x77, "301e02010277198017312e332e362e312e342e312e343230332e312e31312e33"},
      {"you are", 0x78, "301e02010278190a0100040004008b10646e3a636e3d61646d696e2c633d4954"},
      {"extension refused", 0x78, "3022020102781d0a0102040004166e6f206d65737361676520494420737570706c696564"},
  };
  return messages;
}

inline bool decodeMessage(LDAPMessage& message, const ByteString& bytes) {
  Buffer buffer;
  buffer.assign(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  return message.decode(buffer);
}

// What encode writes; its size must be the one announced.
template <class Structure>
ByteString encoded(const Structure& structure) {
  Buffer buffer(1);
  structure.encode(buffer);
  EXPECT_EQ(structure.size(buffer), buffer.size());
  const auto bytes = buffer.range(0, buffer.size());
  return {bytes.begin(), bytes.end()};
}

}  // namespace keystrand::test

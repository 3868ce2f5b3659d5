// GeneralName and GeneralNames (RFC 5280 section 4.2.1.6) with OtherName and EDIPartyName.
//
// Accessors give clones that the caller deletes, setters store clones, nullptr means absent; texts and bytes are new
// arrays that the caller delete[]s. Texts end at their first NUL octet, also where more octets arrived.
// Thread: one at a time; const access may run in parallel.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/Name.h"
#include "keystrand/der/OID.h"
#include "keystrand/der/OctetValue.h"
#include "keystrand/der/Strings.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

// OtherName ::= SEQUENCE { type-id OBJECT IDENTIFIER, value [0] EXPLICIT ANY }. The value is decoded for two types: the
// user principal name 1.3.6.1.4.1.311.20.2.3 and the globally unique identifier 1.3.6.1.4.1.311.25.1.
class KEYSTRAND_API OtherName {
 public:
  [[nodiscard]] owner<OtherName*> clone() const { return new OtherName(*this); }
  [[nodiscard]] owner<OID*> typeId() const { return typeId_ ? typeId_->clone() : nullptr; }
  [[nodiscard]] const OID* typeIdView() const noexcept { return typeId_ ? &*typeId_ : nullptr; }
  void setTypeId(const OID& oid) { typeId_ = oid; }
  // The values belong to their types: what is written is the one that the type-id names.
  [[nodiscard]] owner<UTF8*> upn() const { return upn_ ? new UTF8(*upn_) : nullptr; }
  [[nodiscard]] const UTF8* upnView() const noexcept { return upn_ ? &*upn_ : nullptr; }
  void setUPN(const UTF8* upn);
  [[nodiscard]] owner<unsigned char*> guid() const;
  [[nodiscard]] std::uint32_t guidLength() const noexcept { return guid_.size(); }
  void setGUID(const unsigned char* bytes, std::uint32_t n) { guid_.assign(bytes, n); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  // An unknown typeId leaves the value undecoded; the cursor goes on behind the element.
  bool get(Buffer& buffer, unsigned char tag);

 private:
  [[nodiscard]] bool isUPN() const;
  [[nodiscard]] bool isGUID() const;
  [[nodiscard]] std::uint32_t valueSize(const Buffer& buffer) const;
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;
  bool getValue(Buffer& buffer);

  std::optional<OID> typeId_;
  std::optional<UTF8> upn_;
  OctetValue guid_;
};

// EDIPartyName ::= SEQUENCE { nameAssigner [0] OPTIONAL, partyName [1] }, both as plain texts under their tags.
class KEYSTRAND_API EDIPartyName {
 public:
  [[nodiscard]] owner<EDIPartyName*> clone() const { return new EDIPartyName(*this); }
  void setNameAssigner(const char* text);
  void setPartyName(const char* text);
  [[nodiscard]] owner<char*> nameAssigner() const;
  [[nodiscard]] owner<char*> partyName() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  bool get(Buffer& buffer, unsigned char tag);

 private:
  [[nodiscard]] std::uint32_t contentSize(const Buffer& buffer) const;

  std::optional<std::string> nameAssigner_;
  std::optional<std::string> partyName_;
};

class KEYSTRAND_API GeneralName {
 public:
  static constexpr unsigned char kOtherName = 0xA0;
  static constexpr unsigned char kRfc822Name = 0x81;
  static constexpr unsigned char kDNSName = 0x82;
  static constexpr unsigned char kX400Address = 0xA3;
  static constexpr unsigned char kDirectoryName = 0xA4;
  static constexpr unsigned char kEdiPartyName = 0xA5;
  static constexpr unsigned char kURI = 0x86;
  static constexpr unsigned char kIPAddress = 0x87;
  static constexpr unsigned char kRegisteredID = 0x88;

  GeneralName() = default;
  GeneralName(const GeneralName&) = delete;
  GeneralName& operator=(const GeneralName&) = delete;
  [[nodiscard]] owner<GeneralName*> clone() const;

  // The choice, by its tag in the encoding; 0 in a new object. A setter makes its choice the only one.
  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }
  void setOtherName(const OtherName* value);
  void setRfc822Name(const char* text);
  void setDNSName(const char* text);
  void setX400Address(const char* text);
  void setDirectoryName(const Name* value);
  void setEdiPartyName(const EDIPartyName* value);
  // Stored percent-encoded: all but letters, digits and !$&'()*+,-./:;?_@ becomes % and upper-case hexadecimal without
  // padding. A percent sign is no exception, so a text that is encoded already is encoded once more.
  void setURI(const char* text);
  void setIPAddress(const unsigned char* bytes, std::uint32_t n);
  void setRegisteredID(const char* dotted);

  [[nodiscard]] owner<OtherName*> otherName() const;
  [[nodiscard]] owner<char*> text() const;  // delete[]; nullptr for another choice
  [[nodiscard]] const std::optional<std::string>& textView() const noexcept { return text_; }
  [[nodiscard]] owner<Name*> directoryName() const;
  [[nodiscard]] const Name* directoryNameView() const noexcept { return directoryName_.get(); }
  [[nodiscard]] owner<EDIPartyName*> ediPartyName() const;
  [[nodiscard]] owner<unsigned char*> ipAddress() const;
  [[nodiscard]] std::uint32_t ipAddressLength() const noexcept { return ipAddress_.size(); }
  [[nodiscard]] owner<char*> registeredIDText() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  // An unknown choice gives true with an empty object and moves nothing.
  bool get(Buffer& buffer);

 private:
  void choose(unsigned char tag);
  void setText(unsigned char tag, const char* text);
  bool getDirectoryName(Buffer& buffer);

  unsigned char tag_ = 0;
  std::unique_ptr<OID> registeredID_;
  std::optional<std::string> text_;
  std::unique_ptr<Name> directoryName_;
  std::unique_ptr<EDIPartyName> ediPartyName_;
  std::unique_ptr<OtherName> otherName_;
  OctetValue ipAddress_;
};

// GeneralNames ::= SEQUENCE OF GeneralName. Names of an unknown choice are passed over when the list is read.
class KEYSTRAND_API GeneralNameList {
 public:
  [[nodiscard]] owner<GeneralNameList*> clone() const;
  void add(const GeneralName& name);
  [[nodiscard]] owner<GeneralName*> get(int index) const;
  [[nodiscard]] const GeneralName* view(int index) const { return items_.view(index); }
  [[nodiscard]] int count() const { return items_.count(); }

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const { return size(buffer, 0x30); }
  void put(Buffer& buffer) const { put(buffer, 0x30); }
  bool get(Buffer& buffer) { return get(buffer, 0x30); }
  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  bool get(Buffer& buffer, unsigned char tag);

 private:
  OwnedList<GeneralName> items_;
};

}  // namespace keystrand

// GeneralName and GeneralNames (RFC 5280 section 4.2.1.6) with OtherName and EDIPartyName.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "keystrand/der/Buffer.h"
#include "keystrand/der/Name.h"
#include "keystrand/der/OID.h"
#include "keystrand/der/Strings.h"
#include "keystrand/support/PointerList.h"

namespace keystrand {

class KEYSTRAND_API OtherName {
 public:
  [[nodiscard]] owner<OtherName*> clone() const;
  void setTypeId(const OID& oid) { typeId_ = std::make_unique<OID>(oid); }
  [[nodiscard]] const OID* typeIdView() const noexcept { return typeId_.get(); }
  void setUPN(const UTF8* upn);
  [[nodiscard]] const UTF8* upnView() const noexcept { return upn_.get(); }
  void setGUID(const unsigned char* bytes, std::uint32_t n);
  [[nodiscard]] owner<unsigned char*> guid(std::uint32_t& n) const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  // An unknown typeId leaves the value undecoded; the cursor goes on behind the element.
  bool get(Buffer& buffer, unsigned char tag);

 private:
  std::unique_ptr<OID> typeId_;
  std::unique_ptr<UTF8> upn_;
  std::optional<std::vector<unsigned char>> guid_;
};

class KEYSTRAND_API EDIPartyName {
 public:
  [[nodiscard]] owner<EDIPartyName*> clone() const;
  void setNameAssigner(const char* text);
  void setPartyName(const char* text);
  [[nodiscard]] owner<char*> nameAssigner() const;
  [[nodiscard]] owner<char*> partyName() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer, unsigned char tag) const;
  void put(Buffer& buffer, unsigned char tag) const;
  bool get(Buffer& buffer, unsigned char tag);

 private:
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

  [[nodiscard]] unsigned char tag() const noexcept { return tag_; }
  void setOtherName(const OtherName* value);
  void setRfc822Name(const char* text);
  void setDNSName(const char* text);
  void setX400Address(const char* text);
  void setDirectoryName(const Name* value);
  void setEdiPartyName(const EDIPartyName* value);
  void setURI(const char* text);  // stored percent-encoded
  void setIPAddress(const unsigned char* bytes, std::uint32_t n);
  void setRegisteredID(const char* dotted);

  [[nodiscard]] owner<OtherName*> otherName() const;
  [[nodiscard]] owner<char*> text() const;  // delete[]; nullptr for another choice
  [[nodiscard]] const std::optional<std::string>& textView() const noexcept { return text_; }
  [[nodiscard]] owner<Name*> directoryName() const;
  [[nodiscard]] const Name* directoryNameView() const noexcept { return directoryName_.get(); }
  [[nodiscard]] owner<EDIPartyName*> ediPartyName() const;
  [[nodiscard]] owner<unsigned char*> ipAddress() const;
  [[nodiscard]] std::uint32_t ipAddressLength() const noexcept;
  [[nodiscard]] owner<char*> registeredIDText() const;

  [[nodiscard]] std::uint32_t size(const Buffer& buffer) const;
  void put(Buffer& buffer) const;
  // An unknown choice gives true with an empty object and moves nothing.
  bool get(Buffer& buffer);

 private:
  void clearChoice();
  unsigned char tag_ = 0;
  std::unique_ptr<OID> registeredID_;
  std::optional<std::string> text_;
  std::unique_ptr<Name> directoryName_;
  std::unique_ptr<EDIPartyName> ediPartyName_;
  std::unique_ptr<OtherName> otherName_;
  std::optional<std::vector<unsigned char>> ipAddress_;
};

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

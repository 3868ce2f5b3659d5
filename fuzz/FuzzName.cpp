// Names, from their encoding and from their comma form: what was read is written with the size announced and read back
// as it was, a name equals its copy, and both roads of the label table give the same text.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Property.h"
#include "der/AttributeTable.h"
#include "der/StringTags.h"
#include "keystrand/der/Name.h"

namespace {

using keystrand::AttributeTypeAndValue;
using keystrand::Buffer;
using keystrand::kAttributeCount;
using keystrand::kAttributeIdentifiers;
using keystrand::kAttributeLabels;
using keystrand::Name;
using keystrand::RelativeDistinguishedName;
using keystrand::fuzz::require;
using Bytes = std::vector<unsigned char>;

template <class Holds>
bool everyAttribute(const Name& name, Holds holds) {
  const auto ofRDN = [&](const RelativeDistinguishedName& rdn) { return std::ranges::all_of(rdn.attributes(), holds); };
  return name.listView() == nullptr || std::ranges::all_of(name.listView()->rdns(), ofRDN);
}

Bytes encoded(const Name& name) {
  Buffer out;
  name.put(out);
  require(out.size() == name.size(out), "size tells what put writes");
  const auto bytes = out.range(0, out.size());
  return {bytes.begin(), bytes.end()};
}

void readBack(const Name& name, Name& again) {
  const Bytes der = encoded(name);
  Buffer in;
  in.assign(der.data(), static_cast<std::uint32_t>(der.size()));
  require(again.get(in), "what was written is read");
  require(in.atEnd(), "to its end");
}

// A UniversalString is written otherwise than it is read.
void comesBack(const Name& name) {
  Name again;
  readBack(name, again);
  if (everyAttribute(name, [](const auto& attribute) { return attribute.tag() != keystrand::kUniversalString; }))
    require(encoded(again) == encoded(name), "and written as it was");
}

void equalsItsCopy(const Name& name) {
  const std::unique_ptr<Name> copy(name.clone());
  const bool comparable = everyAttribute(name, [](const auto& attribute) { return attribute.equals(attribute); });
  require(name.equalsInOrder(*copy) == comparable, "a copy of comparable attributes is equal in order");
  if (!comparable) return;
  require(name.equals(*copy) && name.equalsAcrossEncodings(*copy) && name.equalsPattern(*copy), "and in every way");
}

void textsAgree(const Name& name) {
  static const auto identifiers = keystrand::kAttributeIdentifiers;  // at an address where no one knows it by
  const std::string own = name.text();
  const std::unique_ptr<char[]> looked(name.toText(identifiers.data(), kAttributeLabels.data(), kAttributeCount));
  require(own == looked.get(), "both roads of the table give one text");
  const std::unique_ptr<char[]> lines(name.toPrintableUTF8());
  const std::unique_ptr<char[]> elements(name.toXML(identifiers.data(), kAttributeLabels.data(), 3));
  const std::unique_ptr<char[]> keys(name.toAttributes(identifiers.data(), kAttributeLabels.data(), kAttributeCount));
  require(lines && elements && keys, "every text form is there");
}

void normalisesOnce(Name& name) {
  name.normalise();
  const Bytes normalised = encoded(name);
  name.normalise();
  require(encoded(name) == normalised, "a normalised name stays as it is");
}

void check(Name& name) {
  equalsItsCopy(name);
  textsAgree(name);
  normalisesOnce(name);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Buffer in;
  in.append(data, static_cast<std::uint32_t>(size));
  Name read;
  static_cast<void>(read.get(in));
  comesBack(read);
  check(read);
  Name parsed;
  const std::string text(data, data + size);
  require(parsed.setText(text.c_str(), keystrand::kUTF8String, kAttributeLabels.data(), kAttributeIdentifiers.data(),
                         kAttributeCount) == (parsed.listView() != nullptr),
          "a text yields a name or none");
  // a text may name arcs that a subidentifier of 32 bits does not hold: what was read back is what has to stay
  Name reread;
  readBack(parsed, reread);
  comesBack(reread);
  check(parsed);
  return 0;
}

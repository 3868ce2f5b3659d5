// Values under test, between their objects and their encodings.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "der/AttributeTable.h"
#include "der/BufferContents.h"
#include "keystrand/der/Name.h"
#include "support/Coding.h"

namespace keystrand::test {

inline void setText(Name& name, const char* text, unsigned char defaultTag = 12) {
  EXPECT_TRUE(name.setText(text, defaultTag, kAttributeLabels.data(), kAttributeIdentifiers.data(), kAttributeCount))
      << text;
}

// The parsed and re-read form of a comma text, one value type for all attributes that have a choice.
inline std::unique_ptr<Name> nameOf(const char* text, unsigned char defaultTag = 12) {
  auto name = std::make_unique<Name>();
  setText(*name, text, defaultTag);
  return name;
}

// An attribute of the type commonName with a value of this encoding.
inline AttributeTypeAndValue commonName(std::string_view valueDigits) {
  AttributeTypeAndValue attribute;
  attribute.setType("2.5.4.3");
  Holding value(valueDigits);
  EXPECT_TRUE(attribute.setValueFromDER(value)) << valueDigits;
  return attribute;
}

}  // namespace keystrand::test

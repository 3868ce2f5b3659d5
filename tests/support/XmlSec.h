// xmlsec1 as a judge: what it digests and signs, octet by octet.
#pragma once

#include <string>
#include <vector>

namespace keystrand::test {

struct XmlSecRun {
  bool succeeded = false;
  std::vector<std::string> digested;  // of each reference, in order
  std::string signedInfo;             // canonical
};

// The arguments come before those that make it tell what it digests.
XmlSecRun runXmlSec(const std::vector<std::string>& arguments);

}  // namespace keystrand::test

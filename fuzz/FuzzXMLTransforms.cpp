// Steps of XML Signature transforms with the expressions of strangers: a letter for the step, the expression up to the
// end of the line, and the document.
#include <cstdint>
#include <string>
#include <string_view>

#include "Property.h"
#include "keystrand/xml/XMLFile.h"

namespace {

using keystrand::XMLFile;
using keystrand::fuzz::require;

constexpr std::size_t kMaxDocument = 4096;

std::string held(XMLFile& file) {
  const unsigned char* output = file.output(0, true);
  return output != nullptr ? std::string(reinterpret_cast<const char*>(output), file.outputLength()) : std::string();
}

// What a reference selects begins as no other: another selection, and it again, give the same octets.
void selects(XMLFile& file, const char* uri) {
  if (!file.selectReference(uri)) {
    require(file.output() == nullptr && file.outputLength() == 0, "what is not found leaves nothing");
    return;
  }
  const std::string octets = held(file);
  static_cast<void>(file.selectWholeDocument());
  require(file.selectReference(uri) && held(file) == octets, "a reference selects the same again");
}

// Texts that fit and texts that do not are together all texts, unless something is cut out where two of them meet.
void divides(XMLFile& file, const std::string& expression) {
  const std::string truth = "boolean(" + expression + ")";
  bool isShortened = false;
  const auto fitting = [&](const std::string& condition) {
    if (!file.selectWholeDocument() || !file.applyXPath(("self::text() and " + condition).c_str()))
      return std::string();
    std::string texts = held(file);
    isShortened = isShortened || file.isOutputShortened();
    return texts;
  };
  if (!file.selectWholeDocument() || !file.applyXPath(truth.c_str())) return;
  const std::size_t all = fitting("true()").size();
  const std::size_t parts = fitting(truth).size() + fitting("not(" + truth + ")").size();
  require(parts == all || isShortened, "a node fits or does not");
}

void filters(XMLFile& file, const char* expression) {
  if (!file.selectWholeDocument() || !file.beginFilter()) return;
  const bool isTaken = file.addFilter("intersect", expression);
  require(file.addFilter("subtract", expression) == isTaken, "a filter is one for every operation");
  require(file.applyFilter() || !isTaken, "what is taken is applied");
  require(!isTaken || held(file).empty(), "nothing is in a set and not in it");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\n');
  if (end == input.npos || end == 0 || input.size() - end > kMaxDocument) return 0;
  const std::string expression(std::string(input.substr(1, end - 1)).c_str());  // a text ends at its first NUL
  const std::string_view document = input.substr(end + 1);
  XMLFile file;
  if (!file.parse(document.data(), static_cast<int>(document.size()), true)) return 0;
  if (input[0] == 'r') selects(file, expression.c_str());
  if (input[0] == 'x') divides(file, expression);
  if (input[0] == 'f') filters(file, expression.c_str());
  return 0;
}

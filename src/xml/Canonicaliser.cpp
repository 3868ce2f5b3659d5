#include "xml/Canonicaliser.h"

#include <libxml/c14n.h>

#include <memory>
#include <new>

#include "xml/LibraryErrors.h"
#include "xml/TreeWalk.h"

namespace keystrand {
namespace {

// Digests of lists have always been taken over texts without this: it once marked names of namespaces that the
// canonicaliser of the day refused.
constexpr std::string_view kMarker = "urn:FIXUUID";

CanonicalForm withoutMarkers(std::string_view canonical) {
  CanonicalForm form;
  form.text.reserve(canonical.size());
  for (std::size_t marker = canonical.find(kMarker); marker != canonical.npos; marker = canonical.find(kMarker)) {
    form.text += canonical.substr(0, marker);
    form.isShortened = true;
    canonical.remove_prefix(marker + kMarker.size());
  }
  form.text += canonical;
  return form;
}

}  // namespace

std::optional<CanonicalForm> Canonicaliser::execute(xmlDoc& document, int (*ask)(void*, xmlNode*, xmlNode*),
                                                    void* visible) const {
  if (mode_ < XML_C14N_1_0 || mode_ > XML_C14N_1_1 || !countNodes(document)) return std::nullopt;
  const std::unique_ptr<xmlOutputBuffer, Releaser<&xmlOutputBufferClose>> out(xmlAllocOutputBuffer(nullptr));
  if (!out) throw std::bad_alloc();
  const LibraryErrors silent;
  if (xmlC14NExecute(&document, ask, visible, mode_, nullptr, withComments_ ? 1 : 0, out.get()) < 0)
    return std::nullopt;
  const auto* text = reinterpret_cast<const char*>(xmlOutputBufferGetContent(out.get()));
  return withoutMarkers({text != nullptr ? text : "", xmlOutputBufferGetSize(out.get())});
}

}  // namespace keystrand

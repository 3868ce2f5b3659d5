// The same reference by libxmlsec1 with OpenSSL, where it is installed.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <xmlsec/crypto.h>
#include <xmlsec/transforms.h>
#include <xmlsec/xmlsec.h>
#include <xmlsec/xmltree.h>

#include <memory>
#include <string>

#include "LargeList.h"
#include "support/Memory.h"

namespace keystrand::bench {
namespace {

using Document = std::unique_ptr<xmlDoc, Releaser<&xmlFreeDoc>>;
using Transforms = std::unique_ptr<xmlSecTransformCtx, Releaser<&xmlSecTransformCtxDestroy>>;

const unsigned char* text(const char* name) {
  return reinterpret_cast<const unsigned char*>(name);
}

// The digest in Base64, as it stands in the list.
std::string digestOfReference(xmlDoc& list, xmlNode& reference) {
  const Transforms transforms(xmlSecTransformCtxCreate());
  xmlNode* steps = xmlSecGetNextElementNode(reference.children);
  if (xmlSecTransformCtxSetUri(transforms.get(), text(""), &reference) < 0 ||
      xmlSecTransformCtxNodesListRead(transforms.get(), steps, xmlSecTransformUsageDSigTransform) < 0)
    return {};
  xmlSecTransform* digest = xmlSecTransformCtxNodeRead(transforms.get(), xmlSecGetNextElementNode(steps->next),
                                                       xmlSecTransformUsageDigestMethod);
  xmlSecTransform* coding = xmlSecTransformCtxCreateAndAppend(transforms.get(), xmlSecTransformBase64GetKlass());
  if (digest == nullptr || coding == nullptr) return {};
  digest->operation = xmlSecTransformOperationSign;
  coding->operation = xmlSecTransformOperationEncode;
  if (xmlSecTransformCtxExecute(transforms.get(), &list) < 0) return {};
  return {reinterpret_cast<const char*>(xmlSecBufferGetData(transforms->result)),
          xmlSecBufferGetSize(transforms->result)};
}

std::string trimmed(std::string value) {
  std::erase_if(value, [](char c) { return c == '\n' || c == ' ' || c == '\r'; });
  return value;
}

void signedReference(benchmark::State& state) {
  const auto path = largeList();
  static const bool isReady = xmlSecInit() >= 0 && xmlSecCryptoInit() >= 0;
  if (!path || !isReady) return state.SkipWithError(kNoList);
  const Document list(xmlReadFile(path->c_str(), nullptr, 0));
  xmlNode* reference = xmlSecFindNode(xmlDocGetRootElement(list.get()), text("Reference"), xmlSecDSigNs);
  xmlNode* value = reference != nullptr ? xmlSecFindChild(reference, text("DigestValue"), xmlSecDSigNs) : nullptr;
  if (value == nullptr) return state.SkipWithError(kNoList);
  unsigned char* content = xmlNodeGetContent(value);
  const std::string expected = trimmed(reinterpret_cast<const char*>(content));
  xmlFree(content);
  if (trimmed(digestOfReference(*list, *reference)) != expected) return state.SkipWithError("wrong digest");
  for (auto _ : state) benchmark::DoNotOptimize(digestOfReference(*list, *reference));
}
BENCHMARK(signedReference)->Name("SignedReference/list/libxmlsec")->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace keystrand::bench

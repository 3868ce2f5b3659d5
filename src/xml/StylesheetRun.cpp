#include "xml/StylesheetRun.h"

#include <libxml/xpathInternals.h>
#include <libxslt/security.h>
#include <libxslt/transform.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>

#include "xml/LibraryErrors.h"
#include "xml/StylesheetFunctions.h"
#include "xml/TreeWalk.h"
#include "xml/Watchdog.h"

namespace keystrand {
namespace {

using Stylesheet = std::unique_ptr<xsltStylesheet, Releaser<&xsltFreeStylesheet>>;
using Context = std::unique_ptr<xsltTransformContext, Releaser<&xsltFreeTransformContext>>;
using Preferences = std::unique_ptr<xsltSecurityPrefs, Releaser<&xsltFreeSecurityPrefs>>;

struct ReleaseText {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using LibraryText = std::unique_ptr<xmlChar, ReleaseText>;

constexpr std::string_view kXSLT = "http://www.w3.org/1999/XSL/Transform";
constexpr int kMaxTemplates = 1000;                  // one within the other
constexpr unsigned long kMaxSteps = 1'000'000;       // of the stylesheet, and of its expressions
constexpr std::ptrdiff_t kMaxDeclarations = 10'000;  // and alternatives in their patterns
constexpr std::ptrdiff_t kMaxSetAttributes = 1000;
constexpr std::ptrdiff_t kMaxSetUses = 1000;
constexpr std::ptrdiff_t kMaxBraces = 10'000;                      // of the expressions within attributes
constexpr std::size_t kMaxDeclaredText = std::size_t{128} * 1024;  // bytes of attributes

// For some of what it says libxslt has no other place than this, one for the whole process: while any stylesheet runs,
// that goes nowhere.
class StylesheetErrors {
 public:
  StylesheetErrors() {
    const std::lock_guard lock(state().mutex);
    if (state().count++ > 0) return;
    state().handler = xsltGenericError;
    state().context = xsltGenericErrorContext;
    xsltSetGenericErrorFunc(nullptr, saysNothing);
  }
  ~StylesheetErrors() {
    const std::lock_guard lock(state().mutex);
    if (--state().count == 0) xsltSetGenericErrorFunc(state().context, state().handler);
  }
  StylesheetErrors(const StylesheetErrors&) = delete;
  StylesheetErrors& operator=(const StylesheetErrors&) = delete;

 private:
  struct State {
    std::mutex mutex;
    int count = 0;  // of runs
    xmlGenericErrorFunc handler = nullptr;
    void* context = nullptr;
  };
  static State& state() {
    static State instance;
    return instance;
  }

  LibraryErrors inLibrary_;
};

// How much of it libxslt goes through again and again while it compiles, or within one step of a run, when it looks at
// no clock: the declarations before for each, the patterns of all for each alternative, all attributes of a set for
// each use, the prefixes known for each named, and the text so far for each expression in an attribute.
class Repeated {
 public:
  explicit Repeated(const xmlNode& stylesheet) : stylesheet_(stylesheet) {}

  void add(const xmlNode& element) {
    if (element.parent == &stylesheet_) ++declarations_;
    if (isElement(element.parent, "attribute-set")) ++setAttributes_;
  }
  void addAttribute(const xmlNode& attribute, const std::string& text) {
    const std::string_view name = fromXML(attribute.name);
    const bool isDeclared = attribute.parent == &stylesheet_ || attribute.parent->parent == &stylesheet_;
    if (isDeclared) declarations_ += std::ranges::count(text, '|');
    if (isDeclared || name == "exclude-result-prefixes") declaredText_ += text.size();
    if (name == "use-attribute-sets") setUses_ += 1 + std::ranges::count_if(text, isBlank);
    braces_ += std::ranges::count(text, '{') + std::ranges::count(text, '}');
  }
  [[nodiscard]] bool isModest() const {
    return declarations_ <= kMaxDeclarations && setAttributes_ <= kMaxSetAttributes && setUses_ <= kMaxSetUses &&
           braces_ <= kMaxBraces && declaredText_ <= kMaxDeclaredText;
  }

 private:
  static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

  const xmlNode& stylesheet_;
  std::ptrdiff_t declarations_ = 0;
  std::ptrdiff_t setAttributes_ = 0;
  std::ptrdiff_t setUses_ = 0;
  std::ptrdiff_t braces_ = 0;
  std::size_t declaredText_ = 0;
};

bool isModest(xmlNode& stylesheet) {
  Repeated repeated(stylesheet);
  return walkTree(stylesheet, [&](const xmlNode* node, int) {
    if (isElement(node)) repeated.add(*node);
    if (node->type == XML_ATTRIBUTE_NODE) {
      const std::optional<std::string> text = textBelow(node->doc, node->children);
      if (!text) return false;
      repeated.addAttribute(*node, *text);
    }
    return repeated.isModest();
  });
}

// Parts from elsewhere are read while the stylesheet is compiled, when no preferences are asked.
bool takesParts(xmlNode* stylesheet) {
  const auto isPart = [](const xmlNode* node) {
    const bool isOfXSLT = node->ns != nullptr && fromXML(node->ns->href) == kXSLT;
    return isOfXSLT && (fromXML(node->name) == "import" || fromXML(node->name) == "include");
  };
  return searchIf(stylesheet, isPart) != nullptr;
}

Stylesheet compile(xmlNode& element) {
  XMLDocument document(xmlNewDoc(toXML("1.0")));
  xmlNode* copy = document ? xmlDocCopyNode(&element, document.get(), 1) : nullptr;
  if (copy == nullptr) return nullptr;
  xmlDocSetRootElement(document.get(), copy);
  if (takesParts(copy) || !isModest(*copy)) return nullptr;
  Stylesheet stylesheet(xsltParseStylesheetDoc(document.get()));
  if (stylesheet) static_cast<void>(document.release());  // now the stylesheet's
  return stylesheet && stylesheet->errors == 0 ? std::move(stylesheet) : nullptr;
}

Preferences nothingAllowed() {
  Preferences preferences(xsltNewSecurityPrefs());
  for (const xsltSecurityOption option :
       {XSLT_SECPREF_READ_FILE, XSLT_SECPREF_WRITE_FILE, XSLT_SECPREF_CREATE_DIRECTORY, XSLT_SECPREF_READ_NETWORK,
        XSLT_SECPREF_WRITE_NETWORK})
    if (!preferences || xsltSetSecurityPrefs(preferences.get(), option, xsltSecurityForbid) != 0) return nullptr;
  return preferences;
}

void stop(xsltTransformContext& context) {
  std::atomic_ref(context.state).store(XSLT_STATE_STOPPED, std::memory_order_relaxed);
  std::atomic_ref(context.xpathCtxt->opLimit).store(1, std::memory_order_relaxed);
}

XMLDocument apply(xsltStylesheet& stylesheet, xmlDoc& document) {
  const Preferences preferences = nothingAllowed();
  const Context context(xsltNewTransformContext(&stylesheet, &document));
  if (!context || !preferences || xsltSetCtxtSecurityPrefs(preferences.get(), context.get()) != 0) return nullptr;
  xsltSetTransformErrorFunc(context.get(), nullptr, saysNothing);
  context->maxTemplateDepth = kMaxTemplates;
  context->opLimit = kMaxSteps;
  context->xpathCtxt->opLimit = kMaxSteps;
  context->xpathCtxt->error = [](void*, xmlError*) {};
  xmlXPathRegisterFuncLookup(context->xpathCtxt, stylesheetFunction, context->xpathCtxt);
  const Watchdog watchdog([&] { stop(*context); });
  XMLDocument result(xsltApplyStylesheetUser(&stylesheet, &document, nullptr, nullptr, nullptr, context.get()));
  const xsltTransformState state = std::atomic_ref(context->state).load(std::memory_order_relaxed);
  return state == XSLT_STATE_OK ? std::move(result) : nullptr;
}

}  // namespace

std::optional<std::string> runStylesheet(xmlDoc& document, xmlNode& element) {
  if (!countSearched(document)) return std::nullopt;
  const StylesheetErrors silent;
  const Stylesheet stylesheet = compile(element);
  const XMLDocument source(xmlCopyDoc(&document, 1));  // xsl:strip-space takes nodes out of it
  const XMLDocument result = stylesheet && source ? apply(*stylesheet, *source) : nullptr;
  owner<xmlChar*> text = nullptr;
  int length = 0;
  if (!result || xsltSaveResultToString(&text, &length, result.get(), stylesheet.get()) != 0) return std::nullopt;
  const LibraryText made(text);
  return std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length));
}

}  // namespace keystrand

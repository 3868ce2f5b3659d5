#include "pkix/RevokedBlockReader.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

#include "der/BorrowedBuffer.h"
#include "der/Element.h"
#include "pkix/PlainEntry.h"

namespace keystrand {
namespace {

// Plain entries are copied in runs of about this many bytes, while they are still near.
constexpr std::size_t kRun = 0x10000;

bool sameExtensions(const ExtensionList* a, const ExtensionList* b) {
  if (a == nullptr || b == nullptr) return a == b;
  if (a->count() != b->count()) return false;
  for (int i = 0; i < a->count(); ++i) {
    if (!a->view(i)->equals(*b->view(i))) return false;  // an identifier cut short equals nothing, on this side
  }
  return true;
}

bool sameDate(const X500Time& a, const X500Time& b) {
  return a.equals(b) && std::string_view(a.fractionView()) == b.fractionView();
}

// Whether what put wrote for an entry is read as that entry again. It is not where the text of a date was cut, or where
// an identifier has more arcs than are kept.
bool readsBackAlike(const RevokedCertificate& entry, std::span<const unsigned char> written) {
  BorrowedBuffer buffer(written);
  RevokedCertificate again;
  return again.get(buffer) && sameDate(*entry.revocationDateView(), *again.revocationDateView()) &&
         sameExtensions(entry.extensionsView(), again.extensionsView());
}

class Reader {
 public:
  Reader(Buffer& in, RevokedBlock& block) : in_(in), block_(block) {}

  // Takes the plain entries that follow each other from the cursor on and end before `end`.
  bool plainRun(std::uint64_t end) {
    const auto source = in_.range(in_.readPosition(), end);
    std::size_t taken = 0;
    while (taken < source.size() && taken < kRun) {
      const std::size_t length = plainEntryLength(source.subspan(taken));
      if (length == 0) break;
      block_.startEntry(taken);
      taken += length;
    }
    in_.setReadPosition(in_.readPosition() + std::uint64_t{taken});
    return block_.append(source.first(taken));
  }

  bool generalEntry() {
    RevokedCertificate entry;
    if (!entry.get(in_)) return false;
    written_.reset();
    written_.reserve(entry.size(written_));
    entry.put(written_);
    const auto bytes = written_.range(0, written_.size());
    const bool isKept = !readsBackAlike(entry, bytes);
    if (isKept && block_.keepsNoMore()) return false;
    block_.startEntry();
    if (!block_.append(bytes)) return false;
    if (isKept) block_.keep(std::move(entry));
    return true;
  }

 private:
  Buffer& in_;
  RevokedBlock& block_;
  Buffer written_;
};

}  // namespace

RevokedBlockResult readRevokedBlock(Buffer& in, Road road) {
  Element list;
  if (!list.openAny(in, kSequence)) return {};
  if (list.definite && list.left(in) > in.remaining()) return {};
  auto block =
      std::make_shared<RevokedBlock>(list.definite ? list.left(in) : std::min<std::uint64_t>(in.remaining(), kRun));
  Reader reader(in, *block);
  const std::uint64_t end = list.definite ? list.end : in.size();
  bool good = true;
  while (good && !list.atEnd(in)) {
    const std::uint32_t before = in.readPosition();
    if (road == Road::kShort) good = reader.plainRun(end);
    if (good && in.readPosition() == before) good = reader.generalEntry();
  }
  block->seal();
  return {std::move(block), good && (list.definite || in.getEndOfContents())};
}

}  // namespace keystrand

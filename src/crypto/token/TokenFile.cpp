#include "crypto/token/TokenFile.h"

#include <cerrno>

#include "support/File.h"

namespace keystrand {

CK_RV TokenFile::read(std::optional<TokenImage>& out) const {
  out.reset();
  errno = 0;  // a folder of that name leaves it so
  const File file = File::openForReading(path_.c_str());
  if (!file.isOpen()) return errno == ENOENT ? CKR_OK : CKR_DEVICE_ERROR;
  const auto size = fileSize(file.descriptor());
  if (!size) return CKR_DEVICE_ERROR;
  if (*size > TokenImage::kLongestFile) return CKR_TOKEN_NOT_RECOGNIZED;
  Bytes octets(*size);
  if (readAll(file.descriptor(), octets) != octets.size()) return CKR_DEVICE_ERROR;
  out = TokenImage::decode(octets);
  return out ? CKR_OK : CKR_TOKEN_NOT_RECOGNIZED;
}

// The lock is not on the file itself, whose name belongs to another one after each change.
CK_RV TokenFile::change(const std::function<CK_RV(std::optional<TokenImage>&)>& work) const {
  const File lockFile = File::openForWriting((path_ + ".lock").c_str(), kForOwner);
  const FirstByteLock lock(lockFile);
  if (!lock.held()) return CKR_DEVICE_ERROR;
  std::optional<TokenImage> image;
  if (const CK_RV result = read(image); result != CKR_OK) return result;
  if (const CK_RV result = work(image); result != CKR_OK) return result;
  return image && replaceFile(path_, image->encode()) ? CKR_OK : CKR_DEVICE_ERROR;
}

}  // namespace keystrand

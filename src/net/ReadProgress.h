// Tells a callback of the process how long reads go on, and lets it stop them all.
#pragma once

#include <cstdint>

namespace keystrand {

class ReadProgress {
 public:
  enum Stage { kAdvance = 0, kBegin = 1, kEnd = 2 };
  // A result of 0 at kAdvance cancels: this read, and every connection and read that the process begins before
  // resume().
  using Callback = unsigned char (*)(std::uint32_t thread, int stage, std::uint32_t length, std::uint32_t done,
                                     void* user);

  // Any thread. The callback hears of reads of more than `threshold` bytes that begin from now on; nullptr ends that.
  static void set(Callback callback, void* user, std::uint32_t threshold);
  [[nodiscard]] static bool cancelled() noexcept;
  static void resume() noexcept;

  // One read of so many bytes. It reports its begin here, and the rest below.
  explicit ReadProgress(std::uint32_t length);
  // False when the callback cancels.
  [[nodiscard]] bool advance(std::uint32_t bytes);
  void end() const;

 private:
  unsigned char report(Stage stage) const;

  Callback callback_ = nullptr;
  void* user_ = nullptr;
  std::uint32_t length_;
  std::uint32_t done_ = 0;
};

}  // namespace keystrand

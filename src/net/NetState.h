// The settings of all network clients of the process, under one lock.
#pragma once

#include <mutex>

#include "net/CurlSettings.h"
#include "net/ProxyState.h"
#include "net/SocksState.h"

namespace keystrand {

struct NetSettings {
  ProxyState http;
  CurlSettings curl;
  SocksState socks;
};

// Its lock is a leaf: nothing else is locked and nothing is looked up or sent while it is held. Never destroyed.
class NetState {
 public:
  static NetState& instance() {
    static auto& state = *new NetState;
    return state;
  }

  [[nodiscard]] NetSettings snapshot() const {
    const std::lock_guard lock(mutex_);
    return settings_;
  }

  // Runs change(settings) under the lock and returns what it returns.
  template <class Change>
  auto change(Change change) {
    const std::lock_guard lock(mutex_);
    return change(settings_);
  }

 private:
  NetState() = default;

  mutable std::mutex mutex_;
  NetSettings settings_;  // guarded by mutex_
};

}  // namespace keystrand

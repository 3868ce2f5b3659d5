// Tests that begin with the network settings of a new process.
#pragma once

#include <gtest/gtest.h>

#include "net/NetState.h"

namespace keystrand {

class FreshNetState : public ::testing::Test {
 protected:
  FreshNetState() {
    NetState::instance().change([](NetSettings& net) { net = {}; });
    setCurlTimeout(-1);
    static_cast<void>(takeCurlTimeout());
  }
};

// Sends all socket connections through a SOCKS server on 127.0.0.1. The servers of a test are on this machine, whose
// networks would go direct otherwise.
inline void everythingThrough(std::uint16_t socksPort, const std::optional<Credentials>& credentials = {}) {
  ASSERT_TRUE(setSocks("127.0.0.1", socksPort, credentials));
  NetState::instance().change([](NetSettings& net) { net.socks.directNetworks.clear(); });
}

}  // namespace keystrand

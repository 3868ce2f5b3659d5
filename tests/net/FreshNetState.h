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

}  // namespace keystrand

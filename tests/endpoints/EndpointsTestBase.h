#pragma once

#include <gtest/gtest.h>

#include "support/RoutedService.h"

namespace velora_test {

// A command endpoint: its target, the callback it fires with the arguments
// it passes, and the failure it answers when the host refuses.
struct CommandCase {
  const char* target;
  const char* callback;
  const char* args;
  const char* failure;
  int failureStatus = 401;
};

class EndpointsTest : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
  // Runs each case once accepted and once refused.
  void checkCommands(std::initializer_list<CommandCase> cases, const char* success = "SUCCESS") {
    for (const CommandCase& c : cases) {
      host.answer(c.callback, 0);
      const HttpReply ok = get(c.target);
      EXPECT_EQ(200, ok.status) << c.target;
      if (success != nullptr) {
        EXPECT_EQ(std::string("\"") + success + "\"", ok.body) << c.target;
      }
      EXPECT_EQ(c.args, host.last(c.callback)) << c.target;
      host.answer(c.callback, 1);
      const HttpReply refused = get(c.target);
      EXPECT_EQ(c.failureStatus, refused.status) << c.target;
      EXPECT_EQ(std::string("\"") + c.failure + "\"", refused.body) << c.target;
      host.answer(c.callback, 0);
    }
  }
};

}  // namespace velora_test

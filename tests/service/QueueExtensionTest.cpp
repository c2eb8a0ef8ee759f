#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

using QueueExtensionTest = RoutedService;

// Every queue route answers 501 until the host registers the extension and
// again once it is removed, whatever its keys; in between the keys reach the
// host read as the callbacks declare them, bad ones are refused before it is
// asked, and its refusals come back with each route's own text.
TEST_F(QueueExtensionTest, RoutesAskTheExtensionAndAnswer501WithoutOne) {
  const auto expectNotImplemented = [&] {
    for (const char* target :
         {"/queue", "/queue/seek?position=1", "/queue/seek", "/queue/append?itemid=a1",
          "/queue/remove?index=0", "/queue/clear", "/queue/next?itemid=a1"}) {
      const HttpReply reply = get(target);
      EXPECT_EQ(501, reply.status) << target;
      EXPECT_EQ(R"("Not Implemented")", reply.body) << target;
    }
    EXPECT_EQ("", calls());
  };
  expectNotImplemented();
  ASSERT_EQ(4, s.setQueueExtension(&host));
  EXPECT_EQ(2, s.setQueueExtension(&host));
  expectRoutes({
      {"/queue", "", 200, R"("SUCCESS")"},
      {"/queue/seek?position=12.5", "onSeek 12.5", 200, R"("SUCCESS")", 1, 401,
       R"("handleQueueSeek FAILED")"},
      {"/queue/seek?position=-1e1", "onSeek -10"},
      {"/queue/append?itemid=al%20b%2F7", "onAppendToQueue 'al b/7'", 200, R"("SUCCESS")", 3, 401,
       R"("handleQueueAppend FAILED")"},
      {"/queue/remove?index=3", "onRemoveFromQueue 3", 200, R"("SUCCESS")", 1, 401,
       R"("handleQueueRemove FAILED")"},
      {"/queue/next?itemid=t%2B1%20x", "onPlayNext 't+1 x'", 200, R"("SUCCESS")", 2, 401,
       R"("handleQueueNext FAILED")"},
      {"/queue/clear", "onClearQueue", 200, R"("SUCCESS")", 1, 401, R"("handleQueueClear FAILED")"},
      {"/queue/seek", "", 400, R"("Missing position")"},
      {"/queue/seek?position=12s", "", 400, R"("Missing position")"},
      {"/queue/seek?position=nan", "", 400, R"("Missing position")"},
      {"/queue/append?id=a1", "", 400, R"("Missing itemid")"},
      {"/queue/next", "", 400, R"("Missing itemid")"},
      {"/queue/remove?index=", "", 400, R"("Missing index")"},
      {"/queue/remove?index=1.5", "", 400, R"("Missing index")"},
      {"/queue/remove?index=99999999999", "", 400, R"("Missing index")"},
      {"/queue/nowhere", "", 400, R"("/queue/nowhere")"},
  });
  EXPECT_EQ("*", get("/queue/clear").header("Access-Control-Allow-Origin"));
  host.clear();
  EXPECT_EQ(4, s.setQueueExtension(nullptr));
  EXPECT_EQ(1, s.setQueueExtension(nullptr));
  expectNotImplemented();
}

}  // namespace

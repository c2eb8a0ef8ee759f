#include "EndpointsTestBase.h"

using namespace velora_test;

namespace {

class StashTest : public EndpointsTest {};

TEST_F(StashTest, TheStashTextIsParsedWhenAskedFor) {
  s.setGetUserStashResponse(R"([{"sku":"s1"}])");
  EXPECT_EQ(R"([{"sku":"s1"}])", get("/getStash").body);
  s.setGetUserStashResponse("not json");
  EXPECT_EQ(500, get("/getStash").status);
  EXPECT_EQ("\"SUCCESS\"", get("/ping").body);

  host.answer("onGetUserStash", 1);
  EXPECT_EQ("\"Logout FAILED\"", get("/getStash").body);
  host.answer("onGetUserStash", 7);
  EXPECT_EQ(503, get("/getStash").status);
}

TEST_F(StashTest, DownloadsPassTheirKeysUndecoded) {
  checkCommands({
      {"/addDownload?sku=a%20b&url=u&title=t&mediaId=m", "onAddStashItem", "'a%20b' 'u' 't' 'm'",
       "AddStashItem FAILED"},
      {"/removeDownload?sku=s", "onRemoveStashItem", "'s'", "RemoveStashItem FAILED"},
      {"/startDownload?sku=s", "onStartDownload", "'s'", "StartDownload FAILED"},
      {"/cancelDownload?sku=s", "onCancelDownload", "'s'", "CancelDownload FAILED"},
      {"/pauseDownload?sku=s", "onPauseDownload", "'s'", "PauseDownload FAILED"},
      {"/resumeDownload?sku=s", "onResumeDownload", "'s'", "ResumeDownload FAILED"},
  });
  checkCommands(
      {{"/getItemsForSkuId?sku=s", "onGetItemsForSkuId", "'s'", "GetItemsForSkuId FAILED"},
       {"/getDownloadStatus?sku=ignored", "onGetDownloadStatus", "''", "GetItemsForSkuId FAILED"}},
      nullptr);
  host.clear();
  EXPECT_EQ(401, get("/addDownload?sku=s&url=u&title=t").status);
  EXPECT_EQ(401, get("/startDownload").status);
  EXPECT_TRUE(host.calls().empty());
}

class ScanTest : public EndpointsTest {};

TEST_F(ScanTest, ScansAndTheirTexts) {
  checkCommands({
      {"/scan", "onScanFiles", "'itunes'", "ScanLocalAudioFiles FAILED"},
      {"/scanLocalAudioFiles?which=itunes", "onScanFiles", "'local'", "ScanLocalAudioFiles FAILED"},
      {"/clearCache", "onClearLocalCache", "'local'", "clearLocalCache FAILED"},
      {"/clearLocalCache?which=all", "onClearLocalCache", "'all'", "clearLocalCache FAILED"},
  });
  checkCommands({{"/scanCancel", "onScanCancel", "'local'", "scanCancel"}}, "CANCELLED");
  host.onCall("onScanGetProgress", [this] { s.setScanProgressResponse(12.5f, "Scanning"); });
  EXPECT_EQ(R"({"percentComplete":12.5,"message":"Scanning"})", get("/scanGetProgress").body);
}

TEST_F(ScanTest, LocalLibraryReadsItsKeysByCount) {
  get("/getLocalLibrary?id=tracks&sortBy=3");
  EXPECT_EQ("'tracks' '-1' '-1' '1' '0' '' 'local,tidal'", host.last("onGetLocalLibrary"));
  get("/getLibrary?id=albums&index=0&count=50&sortBy=2&reverseSort=1&etag=e1&filter=local");
  EXPECT_EQ("'albums' '0' '50' '2' '1' 'e1' 'local'", host.last("onGetLocalLibrary"));
  EXPECT_EQ(400, get("/getLocalLibrary?index=0").status);
}

TEST_F(ScanTest, LocalLibraryAnswersByTheHostsResult) {
  host.onCall("onGetLocalLibrary", [this] {
    Album* a = Album::getAlbum(VeloraSourceLocal, "a1");
    s.setGetLocalLibraryAlbums({a}, "etag-9", 1, 40);
    a->Release();
  });
  const auto page = web::json::value::parse(get("/getLocalLibrary?id=albums").body);
  EXPECT_EQ("etag-9", page.at("etag").as_string());
  EXPECT_EQ(40, page.at("totalCount").as_integer());
  // Library pages never carry pictures.
  EXPECT_TRUE(page.at("tracks").at(0).at("artworkdata").is_null());

  host.answer("onGetLocalLibrary", 8);
  const HttpReply unchanged = get("/getLocalLibrary?id=albums");
  EXPECT_EQ(304, unchanged.status);
  host.answer("onGetLocalLibrary", 5);
  EXPECT_EQ("{}", get("/getLocalLibrary?id=albums").body);
  host.answer("onGetLocalLibrary", 3);
  const HttpReply missing = get("/getLocalLibrary?id=albums");
  EXPECT_EQ(404, missing.status);
  EXPECT_EQ("\"Item ID not found\"", missing.body);
}

}  // namespace

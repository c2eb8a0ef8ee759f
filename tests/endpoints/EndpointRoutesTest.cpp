#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class EndpointRoutes : public RoutedService {
 protected:
  void SetUp() override {
    RoutedService::SetUp();
    s.Init();
  }
  std::string firstId(const std::string& target) {
    return web::json::value::parse(get(target).body).at(0).at("id").as_string();
  }
};

#define SIX_OPTIONS                                                                    \
  "/setOptions?checkForUpdates=1&maxDownloads=2&addToITunes=3&createITunesPlaylist=4&" \
  "retryTime=5&retryCount=6"

// Keys are decoded or not, read only past a count of pairs, and a refusal
// answers with a text that is often another handler's: all of it is what
// shipped clients match on.
TEST_F(EndpointRoutes, KeysReachTheHostAndRefusalsKeepTheirTexts) {
  expectRoutes({
      {"/login?username=me%40home&password=p%26w&which=a%40b", "onLogin 'me@home' 'p&w' 'a%40b'",
       200, nullptr, 2, 401, R"("Quit FAILED")"},
      {"/login?username=u&password=p&which=w", "onLogin 'u' 'p' 'w'", 200, nullptr, 7, 503,
       R"("Connection to Tarn Server Failed.")"},
      {"/login?username=u&password=p", "", 401, nullptr},
      {"/getLogin", "onGetLogin ''", 200, nullptr, 7, 503, nullptr},
      {"/getLogin?which=x", "onGetLogin 'x'", 200, nullptr, 1, 401, R"("GetLogin FAILED")"},
      // Logout does not tell an unreachable server apart.
      {"/logout?which=x", "onLogout 'x'", 200, R"("SUCCESS")", 7, 401, R"("Logout FAILED")"},
      {SIX_OPTIONS, "onSetOptions '1' '2' '3' '4' '5' '6' '' '' '' '' '' '' '' '' ''", 200,
       R"("SUCCESS")", 1, 400, R"("Options Stale")"},
      {SIX_OPTIONS "&dsdEnabled=a&dsdFilterEnabled=b",
       "onSetOptions '1' '2' '3' '4' '5' '6' 'a' 'b' '' '' '' '' '' '' ''"},
      {SIX_OPTIONS "&dsdEnabled=a&dsdFilterEnabled=b&dsdGain=c&tidalQuality=d&upSample=e&"
                   "scanLevel=f&bypassMode=g&artCache=h&mqa=i&remoteEnabled=j&showTidalInfo=k",
       "onSetOptions '1' '2' '3' '4' '5' '6' 'a' 'b' 'c' 'd' 'e' 'f' 'g' 'h' 'i'"},
      {"/setDevice?currentDevice=DAC&currentChannels=2&currentSampleRate=96000&"
       "currentBufferSize=512",
       "onSetDevice 'DAC' '2' '96000' '512'", 200, R"("SUCCESS")", 1, 401, R"("SetDevice FAILED")"},
      {"/deviceWindow?which=main", "onDeviceWindow", 200, R"("SUCCESS")", 1, 401,
       R"("handleDeviceWindow FAILED")"},
      {"/getDevices", "onGetDevices", 200, nullptr, 1, 401, R"("Get Devices FAILED")"},
      {"/getOptions", "onGetOptions", 200, nullptr, 1, 401, R"("GetOptions FAILED")"},
      {"/getAppConfig", "onGetAppConfig", 200, nullptr, 1, 401, R"("GetAppConfig FAILED")"},
      {"/selectLocalArtworkLocation?id=x", "onSelectLocalArtworkLocation 'x'", 200, nullptr, 1, 401,
       R"("handleLocalSelectArtworkLocation FAILED")"},
      {"/getLocalArtworkLocation?id=x", "onGetLocalArtworkLocation 'x'", 200, nullptr, 1, 401,
       R"("handleGetLocalArtworkLocation FAILED")"},
      {"/selectLocalDownloadLocation", "onSelectLocalDownloadLocation", 200, nullptr, 1, 401,
       R"("SelectLocalDownloadLocation FAILED")"},
      {"/getLocalDownloadLocation", "onGetLocalDownloadLocation", 200, nullptr, 1, 401,
       R"("GetLocalDownloadLocation FAILED")"},

      {"/deletePlaylist?uuid=p1", "onDeletePlaylist 'p1'", 200, R"("SUCCESS")", 1, 401,
       R"("handleDeletePlaylist FAILED")"},
      {"/deleteItem?uuid=p1&id=t1&removeFromComputer=true", "onDeleteItem 'p1' 't1' 'true'", 200,
       R"("SUCCESS")", 1, 401, R"("handleDeleteItem FAILED")"},
      {"/addItemToList?playlistUuid=p1&itemUuid=t1", "onAddItemToPlaylist 'p1' 't1'", 200,
       R"("SUCCESS")", 1, 401, R"("handleAddItemToPlaylist FAILED")"},
      {"/removeItemFromPlaylist?playlistUuid=p1&itemUuid=t1&removeFromComputer=true",
       "onRemoveItemFromPlaylist 'p1' 't1' 'false'", 200, R"("SUCCESS")", 1, 401,
       R"("handleRemoveItemFromPlaylist FAILED")"},
      {"/moveItemInPlaylist?playlistUuid=p1&itemUuid=t1&toPosition=3",
       "onMoveItemInPlaylist 'p1' 't1' '3'", 200, R"("SUCCESS")", 1, 401,
       R"("handleMoveItemInPlaylist FAILED")"},
      {"/showTrackFile?uuid=t1", "onShowTrackFile 't1'", 200, R"("SUCCESS")", 1, 401,
       R"("ShowTrackFile FAILED")"},
      {"/setHistory?b=2&a=1", "onSetHistory 'a=1,b=2,'", 200, R"("SUCCESS")", 1, 401,
       R"("handleSetHistory FAILED")"},
      {"/createPlaylist?name=Mix", "onCreatePlaylist 'Mix'", 200, nullptr, 1, 401,
       R"("handleCreatePlaylist FAILED")"},
      {"/getHistory", "onGetHistory", 200, nullptr, 1, 401, R"("handleGetHistory FAILED")"},
      // Three pairs: "count" is not read, since it needs four.
      {"/search?which=local&searchTerm=blue&count=5", "onSearch 'local' 'blue' '' ''", 200,
       nullptr},
      {"/searchTidal?which=t&searchTerm=x&index=0&count=20", "onSearchTidal 't' 'x' '0' '20'", 200,
       nullptr, 3, 401, R"("Search FAILED")"},

      // Nothing stored yet is no JSON.
      {"/getStash", "onGetUserStash", 500, nullptr, 1, 401, R"("Logout FAILED")"},
      {"/getStash", "onGetUserStash", 500, nullptr, 7, 503, nullptr},
      {"/addDownload?sku=a%20b&url=u&title=t&mediaId=m", "onAddStashItem 'a%20b' 'u' 't' 'm'", 200,
       R"("SUCCESS")", 1, 401, R"("AddStashItem FAILED")"},
      {"/addDownload?sku=s&url=u&title=t", "", 401, nullptr},
      {"/removeDownload?sku=s", "onRemoveStashItem 's'", 200, R"("SUCCESS")", 1, 401,
       R"("RemoveStashItem FAILED")"},
      {"/startDownload?sku=s", "onStartDownload 's'", 200, R"("SUCCESS")", 1, 401,
       R"("StartDownload FAILED")"},
      {"/startDownload", "", 401, nullptr},
      {"/cancelDownload?sku=s", "onCancelDownload 's'", 200, R"("SUCCESS")", 1, 401,
       R"("CancelDownload FAILED")"},
      {"/pauseDownload?sku=s", "onPauseDownload 's'", 200, R"("SUCCESS")", 1, 401,
       R"("PauseDownload FAILED")"},
      {"/resumeDownload?sku=s", "onResumeDownload 's'", 200, R"("SUCCESS")", 1, 401,
       R"("ResumeDownload FAILED")"},
      {"/getItemsForSkuId?sku=s", "onGetItemsForSkuId 's'", 200, nullptr, 1, 401,
       R"("GetItemsForSkuId FAILED")"},
      {"/getDownloadStatus?sku=ignored", "onGetDownloadStatus ''", 200, nullptr, 1, 401,
       R"("GetItemsForSkuId FAILED")"},
      {"/scan", "onScanFiles 'itunes'", 200, R"("SUCCESS")", 1, 401,
       R"("ScanLocalAudioFiles FAILED")"},
      {"/scanLocalAudioFiles?which=itunes", "onScanFiles 'local'", 200, R"("SUCCESS")", 1, 401,
       R"("ScanLocalAudioFiles FAILED")"},
      {"/clearCache", "onClearLocalCache 'local'", 200, R"("SUCCESS")", 1, 401,
       R"("clearLocalCache FAILED")"},
      {"/clearLocalCache?which=all", "onClearLocalCache 'all'", 200, R"("SUCCESS")", 1, 401,
       R"("clearLocalCache FAILED")"},
      {"/scanCancel", "onScanCancel 'local'", 200, R"("CANCELLED")", 1, 401, R"("scanCancel")"},
      {"/getLocalLibrary?id=tracks&sortBy=3",
       "onGetLocalLibrary 'tracks' '-1' '-1' '1' '0' '' 'local,tidal'", 200, nullptr, 8, 304,
       R"("Not Mofified")"},
      {"/getLibrary?id=albums&index=0&count=50&sortBy=2&reverseSort=1&etag=e1&filter=local",
       "onGetLocalLibrary 'albums' '0' '50' '2' '1' 'e1' 'local'", 200, nullptr, 5, 200, "{}"},
      {"/getLocalLibrary?id=albums",
       "onGetLocalLibrary 'albums' '-1' '-1' '1' '0' '' 'local,tidal'", 200, nullptr, 3, 404,
       R"("Item ID not found")"},
      {"/getLocalLibrary?index=0", "", 400, nullptr},
  });
}

TEST_F(EndpointRoutes, AnswersComeFromTheSlotTheHostFilled) {
  s.setGetOptionsResponse(R"({"options":1})");
  s.setGetAppConfigResponse(R"({"config":2})");
  // Options and configuration share one answer: the last one stored.
  EXPECT_EQ(R"({"config":2})", get("/getOptions").body);
  EXPECT_EQ(R"({"config":2})", get("/getAppConfig").body);
  s.setGetUserStashResponse("not json");
  EXPECT_EQ(500, get("/getStash").status);
  // Each answer is stored from inside its callback, as a host does.
  host.onCall("onLogin", [this] { s.setLoginResponse("session-1"); });
  EXPECT_EQ(R"({"userToken":"session-1"})", get("/login?username=u&password=p&which=w").body);
  host.onCall("onGetLogin", [this] { s.setGetLoginResponse("u", "p", "t", nullptr, "tp", "svc"); });
  EXPECT_EQ(R"({"username":"u","password":"p","userToken":"t","tidalUsername":"",)"
            R"("tidalPassword":"tp","service":"svc"})",
            get("/getLogin?which=a").body);
  host.onCall("onSelectLocalDownloadLocation",
              [this] { s.setGetLocalDownloadLocationResponse(R"({"path":"/dl"})"); });
  EXPECT_EQ(R"({"path":"/dl"})", get("/selectLocalDownloadLocation").body);
  EXPECT_EQ(R"({"path":"/dl"})", get("/addToLibrary?id=t1").body) << "shares the location's answer";
  host.onCall("onGetHistory", [this] { s.setGetHistoryResponse(R"(["t1"])"); });
  EXPECT_EQ(R"(["t1"])", get("/getHistory").body);
  host.onCall("onGetAvailableYearsForArtist",
              [this] { s.setGetAvailableYearsForArtistResponse("[1999,2004]"); });
  EXPECT_EQ("[1999,2004]", get("/getAvailableYearsForArtist?uuid=a").body);
  host.onCall("onGetUserStash", [this] { s.setGetUserStashResponse(R"([{"sku":"s1"}])"); });
  EXPECT_EQ(R"([{"sku":"s1"}])", get("/getStash").body);
  host.onCall("onScanGetProgress", [this] { s.setScanProgressResponse(12.5f, "Scanning"); });
  EXPECT_EQ(R"({"percentComplete":12.5,"message":"Scanning"})", get("/scanGetProgress").body);
  host.onCall("onCreatePlaylist", [this] {
    Playlist* p = Playlist::getPlaylist(VeloraSourceLocal, "new");
    s.setCreatePlaylistResponse({p});
    p->Release();
  });
  EXPECT_EQ("new", firstId("/createPlaylist?name=Mix"));
  host.onCall("onSearch", [this] {
    Track* t = Track::getTrack("hit");
    s.setSearchResponse(std::vector<Track*>{t});
    t->Release();
  });
  EXPECT_EQ("hit", firstId("/search?which=local&searchTerm=blue"));
  // Every page lands under "tracks", whatever it lists, and carries no pictures.
  host.onCall("onGetLocalLibrary", [this] {
    Album* a = Album::getAlbum(VeloraSourceLocal, "a1");
    s.setGetLocalLibraryAlbums({a}, "etag-9", 1, 40);
    a->Release();
  });
  const auto page = web::json::value::parse(get("/getLocalLibrary?id=albums").body);
  EXPECT_EQ("a1", page.at("tracks").at(0).at("id").as_string());
  EXPECT_TRUE(page.at("tracks").at(0).at("artworkdata").is_null());
  EXPECT_EQ("etag-9", page.at("etag").as_string());
  EXPECT_EQ(40, page.at("totalCount").as_integer());
}

}  // namespace

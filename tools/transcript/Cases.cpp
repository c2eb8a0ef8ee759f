// The cases: every GET route of the router, every sub-route of the library
// area, every command of the inline areas, the connection routes, POST, PUT,
// DELETE and the static pages. Routes that ask the host and answer by its
// status run once per status. Order matters: a "status" poll empties the
// documents and answers, and the connection cases build on one another.

#include <cstdio>
#include <regex>

#include "Recorder.h"

namespace transcript {
namespace {

IVeloraLibraryService* lib(Env& env) { return env.service->getLibraryService(); }

// A small library: two tracks, an album of them, an artist, a genre, a
// playlist and a mood. Made afresh for each setter and released after it.
struct Items {
  std::vector<Track*> tracks;
  std::vector<Album*> albums;
  std::vector<Artist*> artists;
  std::vector<Genre*> genres;
  std::vector<Playlist*> playlists;
  std::vector<Mood*> moods;

  Items() {
    const char* names[] = {"Blue in Green", "So What"};
    for (int i = 0; i < 2; ++i) {
      const std::string id = "t" + std::to_string(i + 1);
      Track* t = Track::getTrack(i == 0 ? VeloraSourceLocal : VeloraSourceStreaming, id.c_str());
      t->setTrackName(names[i]);
      t->setArtistName("Miles \"M\" Davis");
      t->setAlbumName("Kind of Blue");
      t->setArtworkPath("/art/kob.jpg");
      t->setArtworkID("art-1");
      t->setArtistID("ar1");
      t->setAlbumID("al1");
      t->setDuration(337 + i);
      t->setInfo("info é");
      t->setSampleRate(96000);
      t->setFileType("flac");
      t->setAvailable(i == 0);
      t->setLibraryLocation("local");
      t->setMQA(i == 1);
      t->setPath(i == 0 ? "/music/kob/1.flac" : "/music/kob/2.flac");
      tracks.push_back(t);
    }
    Album* a = Album::getAlbum(VeloraSourceLocal, "al1");
    a->setAlbumName("Kind of Blue");
    a->setArtistID("ar1");
    a->setArtistName("Miles Davis");
    a->setTracks(tracks);
    a->setArtworkPath("/art/kob.jpg");
    a->setArtworkID("art-1");
    a->setInfo("1959");
    a->setDuration(2760);
    a->setTrackCount(2);
    a->setAvailable(true);
    a->setLibraryLocation("local");
    a->setMQA(false);
    albums.push_back(a);
    Artist* ar = Artist::getArtist(VeloraSourceOther, "ar1");
    ar->setArtistName("Miles Davis");
    ar->setAlbums(albums);
    ar->setArtworkPath("/art/md.jpg");
    ar->setArtworkID("art-2");
    ar->setInfo("trumpet");
    ar->setAlbumCount(1);
    ar->setTrackCount(2);
    ar->setAvailable(true);
    ar->setLibraryLocation("tidal");
    artists.push_back(ar);
    Playlist* p = Playlist::getPlaylist(VeloraSourceLocal, "p1");
    p->setPlaylistName("Late Night");
    p->setTracks(tracks);
    p->setArtworkPath("/art/p1.jpg");
    p->setArtworkID("art-3");
    p->setInfo("mine");
    p->setDuration(675);
    p->setTrackCount(2);
    p->setAvailable(false);
    p->setMQA(true);
    p->setLibraryLocation("local");
    playlists.push_back(p);
    Genre* g = Genre::getGenre("g1");
    g->setGenreName("Jazz");
    g->setAlbums(albums);
    g->setPlaylists(playlists);
    g->setArtworkPath("/art/g1.jpg");
    g->setArtworkID("art-4");
    g->setInfo("cool");
    g->setLibraryLocation("local");
    genres.push_back(g);
    Mood* m = Mood::getMood("m1");
    m->setMoodName("Calm");
    m->setArtworkPath("/art/m1.jpg");
    m->setArtworkID("art-5");
    m->setLibraryLocation("tidal");
    moods.push_back(m);
  }
  ~Items() {
    for (auto* x : tracks) x->Release();
    for (auto* x : albums) x->Release();
    for (auto* x : artists) x->Release();
    for (auto* x : genres) x->Release();
    for (auto* x : playlists) x->Release();
    for (auto* x : moods) x->Release();
  }
  Items(const Items&) = delete;
  Items& operator=(const Items&) = delete;
};

PlaybackState playingState() {
  PlaybackState s{};
  s.state = 1;
  s.trackid = "t1";
  s.duration = 337.5f;
  s.elapsed = 12.25f;
  s.lgain = -1.5f;
  s.rgain = -2.0f;
  s.mqa = MQAState{2, 1.5, "352.8"};
  s.error = nullptr;
  return s;
}

EQPreset eqPreset(const char* name, int id) {
  return EQPreset{name, id, {EQBand{2, 100, 0, 0.7, 1}, EQBand{2.5, 1000, -3.5, 1.4, 2}}};
}

// Pushes what a host holds: every state document gets something.
void pushState(Env& env) {
  Items items;
  auto* library = lib(env);
  library->setTrackInfo(items.tracks[0]);
  library->setTrackList(items.tracks, 1);
  library->setPlaynextList({items.tracks[1]});
  library->setAlbumList(items.albums, 0);
  library->setArtistList(items.artists, 0);
  library->setGenreList(items.genres);
  library->setPlaylistList(items.playlists);
  library->setMoodList(items.moods);
  library->setGenre(items.genres[0]);
  library->setPlaylist(items.playlists[0]);
  library->setAlbum(items.albums[0]);
  library->setArtist(items.artists[0]);
  library->setMyLibraryItemDirty();
  library->setSearchResults(items.artists, items.albums, items.tracks, items.playlists, "kind");
  library->setArtworkData("/art/kob.jpg", "art-1");

  auto* playback = env.service->getPlaybackService();
  playback->setVolumeLevel(35);
  playback->setMuteState(false);
  PlaybackState state = playingState();
  playback->setPlaybackState(state);
  PlaybackMode mode{2};
  playback->setPlaybackMode(mode);

  auto* eq = env.service->getEqualizerService();
  eq->setEQState(true);
  EQPreset flat = eqPreset("Flat", 1);
  eq->setEQCurrentPreset(flat);
  std::vector<EQPreset> eqs{eqPreset("Flat", 1), eqPreset("Rock", 2)};
  eq->setEQPresetList(eqs);
  auto* irc = env.service->getIRCService();
  irc->setIRCState(false);
  irc->setIRCGain(3);
  IRCPreset room{"Room", 4};
  irc->setIRCCurrentPreset(room);
  std::vector<IRCPreset> ircs{{"Room", 4}, {"Hall", 5}};
  irc->setIRCPresetList(ircs);
  auto* ac = env.service->getACService();
  ac->setACState(true);
  ACPreset warm{"Warm", 6};
  ac->setACCurrentPreset(warm);
  std::vector<ACPreset> acs{{"Warm", 6}, {"Bright", 7}};
  ac->setACPresetList(acs);
  auto* hp = env.service->getHPService();
  hp->setHPState(true);
  HPPreset open{"Open", 8};
  hp->setHPCurrentPreset(open);
  std::vector<HPPreset> hps{{"Open", 8}, {"Closed", 9}};
  hp->setHPPresetList(hps);
  auto* settings = env.service->getSettingsService();
  std::vector<const char*> outputs{"Speakers", "USB DAC"};
  settings->setOutputDeviceList(outputs, "USB DAC");
  settings->setSettingsValues(true, false, true);
}

std::string percentEncode(const std::string& text) {
  static const char* hex = "0123456789ABCDEF";
  std::string out;
  for (unsigned char ch : text) {
    if (std::isalnum(ch) || ch == '-' || ch == '_' || ch == '.' || ch == '~') {
      out += static_cast<char>(ch);
    } else {
      out += '%';
      out += hex[ch >> 4];
      out += hex[ch & 15];
    }
  }
  return out;
}

// "a=1&b=2..." of the first n pairs.
std::string pairs(const std::vector<std::pair<std::string, std::string>>& all, size_t n) {
  std::string out;
  for (size_t i = 0; i < n && i < all.size(); ++i) {
    if (i) out += "&";
    out += all[i].first + "=" + all[i].second;
  }
  return out;
}

std::string capture(const std::string& body, const char* pattern) {
  std::smatch m;
  return std::regex_search(body, m, std::regex(pattern)) ? m[1].str() : "";
}

class Table {
 public:
  explicit Table(Env& env) : env_(env) {}

  Case& add(const std::string& method, const std::string& target, const std::string& body = "") {
    cases.push_back(Case{method, target, body, {}, {}, {}, {}, {}, {}});
    return cases.back();
  }
  Case& get(const std::string& target) { return add("GET", target); }
  // The route once per status the host answers `callback` with.
  void asks(const std::string& target, const std::string& callback,
            std::vector<int> statuses = {0, 1, 7}) {
    for (int s : statuses) get(target).statuses = {{callback, s}};
  }
  void host(const std::string& note, std::function<void()> call) {
    Case& c = add("HOST", "");
    c.note = note;
    c.host = std::move(call);
  }
  // The route with its first 1..n pairs of `keys`.
  void counted(const std::string& path,
               const std::vector<std::pair<std::string, std::string>>& keys, size_t from = 1) {
    for (size_t n = from; n <= keys.size(); ++n) get(path + "?" + pairs(keys, n));
  }
  // Authenticates code and keeps its token as ${token<code>}.
  void authenticateRoute(const std::string& query, const std::string& code) {
    Env& env = env_;
    get("/authenticate?" + query).after = [&env, code](const Reply& r) {
      const std::string token = capture(r.body, R"re("token":"([^"]+)")re");
      if (!token.empty()) env.vars["token" + code] = token;
    };
  }
  // A poll of the changes feed that keeps its epoch and sequence.
  void changes(const std::string& query) {
    Env& env = env_;
    get("/changes?" + query).after = [&env](const Reply& r) {
      const std::string epoch = capture(r.body, R"re("epoch":"([^"]+)")re");
      const std::string seq = capture(r.body, R"re("seq":([0-9]+))re");
      if (!epoch.empty()) env.vars["epoch"] = epoch;
      if (!seq.empty()) env.vars["seq"] = seq;
    };
  }

  std::vector<Case> cases;

 private:
  Env& env_;
};

void connectionCases(Table& t, Env& env) {
  auto* service = env.service;
  t.get("/authenticate");
  t.get("/authenticate?code=abc");
  t.authenticateRoute("name=Phone%20One&code=1001&version=3", "1001");
  t.authenticateRoute("code=1001&name=Other&version=9", "1001");
  t.authenticateRoute("code=1002", "1002");
  t.authenticateRoute("code=1003&name=" + std::string(45, 'n') + "&version=x", "1003");
  t.authenticateRoute("code=1003&name=" + std::string(45, 'n') + "&version=2", "1003");
  t.host("authenticate(1001, \"Velora Desktop\", 5)", [service] {
    Capabilities caps{5};
    service->authenticate(1001, "Velora Desktop", caps);
  });
  t.host("authenticate(4242, \"Nobody\", 1)", [service] {
    Capabilities caps{1};
    service->authenticate(4242, "Nobody", caps);
  });
  t.authenticateRoute("code=1001", "1001");

  // The changes feed of an approved client.
  t.get("/changes");
  t.get("/changes?token=${token1002}&wait=0");
  t.get("/changes?token=unknown&wait=0");
  t.changes("token=${token1001}&wait=0");
  t.get("/changes?token=${token1001}&since=abc&wait=0");
  t.get("/changes?token=${token1001}&since=-1&wait=0");
  t.get("/changes?token=${token1001}&wait=x");
  t.get("/changes?token=${token1001}&wait=-1");
  t.get("/changes?token=${token1001}&since=${seq}&epoch=${epoch}&wait=0");
  t.host("setVolumeLevel(41)", [service] { service->getPlaybackService()->setVolumeLevel(41); });
  t.changes("token=${token1001}&since=${seq}&epoch=${epoch}&wait=1");
  t.changes("token=${token1001}&since=${seq}&epoch=${epoch}&wait=1");
  t.changes("token=${token1001}&since=1&epoch=stale&wait=0");
  t.get("/status");

  // POST: a known token is needed, even a pending one does.
  const std::string eq =
      R"({"name":"Posted","id":12,"paramset":[{"order":2,"fband":60,"bband":1.5,"qband":0.7,"filter":1}]})";
  t.add("POST", "/equalizer/setpreset", eq);
  t.add("POST", "/equalizer/setpreset?token=unknown", eq);
  t.add("POST", "/equalizer/setpreset?token=${token1001}", eq).awaits = "onApplyEQPreset";
  t.add("POST", "/irc/setpreset?token=${token1002}", R"({"name":"Cave","id":3})").awaits =
      "onApplyIRCPreset";
  t.add("POST", "/equalizer/setpreset?token=${token1001}", "{not json");
  t.add("POST", "/equalizer/setpreset?token=${token1001}", R"({"name":"NoId"})");
  t.add("POST", "/irc/setpreset?token=${token1001}", "");
  t.add("POST", "/Equalizer/setpreset?token=${token1001}", eq);
  t.add("POST", "/ooyh/setpreset?token=${token1001}", eq);
  t.add("POST", "/equalizer?token=${token1001}", eq);
  t.add("POST", "/artwork/cachedata?token=${token1001}",
        R"({"id":"art-9","artworkdata":"AAECAw==","nested":{"z":1,"a":[2,1]}})");
  t.add("POST", "/artwork/cachedata?token=${token1001}", "[1,2");
  t.get("/status");
  t.changes("token=${token1001}&since=${seq}&epoch=${epoch}&wait=0");
  t.add("PUT", "/playback?volume=10", "{}");
  t.add("PUT", "/anything/at/all");
  t.add("DELETE", "/library/track/delete?id=t1");
  t.add("HEAD", "/ping");
  t.add("OPTIONS", "/ping");
  t.add("PATCH", "/ping");

  // Disconnection, by the client and by the host.
  t.get("/disconnect");
  t.get("/disconnect?code=abc");
  t.get("/disconnect?code=7777");
  t.get("/disconnect?code=1002");
  t.get("/disconnect?code=1001&extra=1");
  t.get("/changes?token=${token1001}&wait=0");
  t.get("/status");
  t.authenticateRoute("code=1001", "1001");
  t.add("POST", "/irc/setpreset?token=${token1002}", R"({"name":"After","id":7})").awaits =
      "onApplyIRCPreset";
  t.host("authenticate(1001, \"Velora Desktop\", 5)", [service] {
    Capabilities caps{5};
    service->authenticate(1001, "Velora Desktop", caps);
  });
  t.host("authenticate(1003, \"Velora Desktop 2 with a product name past forty characters\", 0)",
         [service] {
           Capabilities caps{0};
           service->authenticate(1003, "Velora Desktop 2 with a product name past forty characters",
                                 caps);
         });
  t.authenticateRoute("code=1003", "1003");
  t.host("disconnect(0)", [service] { service->disconnect(0); });
  t.host("authenticate(1001, \"Velora Desktop\", 5)", [service] {
    Capabilities caps{5};
    service->authenticate(1001, "Velora Desktop", caps);
  });
  t.host("disconnect(1003)", [service] { service->disconnect(1003); });
  t.host("disconnect(1001)", [service] { service->disconnect(1001); });
  t.host("disconnect(1001)", [service] { service->disconnect(1001); });
  t.get("/status");
  t.authenticateRoute("code=1001", "1001");
  t.host("authenticate(1001, \"Velora Desktop\", 5)", [service] {
    Capabilities caps{5};
    service->authenticate(1001, "Velora Desktop", caps);
  });
  t.changes("token=${token1001}&since=${seq}&epoch=${epoch}&wait=0");
}

void dspCases(Table& t) {
  for (std::string area : {"equalizer", "irc", "ac", "ooyh"}) {
    const std::string p = "/" + area;
    for (const char* q :
         {"?enable=1", "?enable=true", "?enable=yes", "?enable=0", "?enable=TRUE", "?enable="}) {
      t.get(p + q);
    }
    for (const char* sub : {"/list", "/state", "/getpreset", "/gain", "/other", "/list/extra"}) {
      t.get(p + sub);
    }
    t.get(p + "/list?enable=1");
    t.get(p + "/state?gain=5");
    t.get(p);
    t.get(p + "?x=1");
  }
  t.get("/irc?gain=5");
  t.get("/irc?gain=-2&x=1");
  t.get("/irc?enable=1&gain=5");
  t.get("/irc?gain=x");
  t.get("/irc/gain?gain=2");
  t.get("/irc/setpreset");
  for (const char* p : {"/IRC/list", "/Equalizer/list", "/AC/state", "/OOYH/state", "/hp/list"}) {
    t.get(p);
  }
}

void playbackCases(Table& t) {
  for (const char* q : {"?volume=40",
                        "?volume=abc",
                        "?volume=",
                        "?volume=40&mute=1",
                        "?mute=1",
                        "?mute=true",
                        "?mute=no",
                        "",
                        "/play",
                        "/play?item=3",
                        "/play?itemid=abc",
                        "/play?item=3&itemid=abc",
                        "/play?item=x",
                        "/play?itemid=a%20b",
                        "/pause",
                        "/pause?itemid=abc",
                        "/pause?item=3",
                        "/getvolume",
                        "/getmute",
                        "/getplayerstate",
                        "/getmode",
                        "/next",
                        "/previous",
                        "/mode",
                        "/mode?mode=2",
                        "/mode?mode=x",
                        "/move?position=4",
                        "/move?trackid=t2&position=4",
                        "/move?trackid=t2&position=4&conn=1",
                        "/move?trackid=t2&conn=1&position=4",
                        "/move?trackid=t2",
                        "/move?position=x",
                        "/unknown",
                        "/Next",
                        "/next/extra",
                        "?volume=7/getvolume"}) {
    t.get(std::string("/playback") + q);
  }
  t.get("/playback/getvolume?volume=9");
  t.get("/Playback/next");
}

void settingsCases(Table& t) {
  for (const char* q : {"", "/output", "/output?name=My%20DAC", "/output?name=", "/values",
                        "/values?mqa=1&upsample=0", "/values?mqa=1&upsample=0&dsp=1",
                        "/values?mqa=2&upsample=1&dsp=01", "/values?mqa=true&upsample=1&dsp=1",
                        "/other", "/Output"}) {
    t.get(std::string("/settings") + q);
  }
}

void libraryCases(Table& t) {
  for (const char* q : {"",
                        "?id=5",
                        "?token=x",
                        "/",
                        "/track",
                        "/track?id=t1",
                        "/track?id=t1&token=x",
                        "/track/delete?id=t1",
                        "/track/delete",
                        "/track/other?id=t1",
                        "/trackv2?id=t1",
                        "/trackv2/delete?id=t1",
                        "/artwork",
                        "/artwork?id=art-1",
                        "/artwork?id=art-1&token=x",
                        "/search?param=blue%20note",
                        "/search",
                        "/playnext",
                        "/playnext?token=x",
                        "/genres",
                        "/genres?id=g1",
                        "/genres?id=g1&index=2&count=10",
                        "/genres?id=g1&index=x",
                        "/playlist",
                        "/playlist?index=0&count=20&source=1",
                        "/playlist?index=x",
                        "/playlist?id=p1",
                        "/playlist/create",
                        "/playlist/create?name=Road%20Trip",
                        "/playlist/create?name=",
                        "/playlist/delete?id=p1",
                        "/mood",
                        "/mood?id=m1",
                        "/album",
                        "/album/delete",
                        "/album/delete?id=al1",
                        "/albumv2/delete?id=al1",
                        "/artist",
                        "/artist/delete",
                        "/artist/delete?id=ar1",
                        "/artistv2/delete?id=ar1",
                        "/addtomymusic",
                        "/addtomymusic?id=x",
                        "/addtomymusic?id=x&type=0",
                        "/addtomymusic?id=x&type=1",
                        "/addtomymusic?id=x&type=2",
                        "/addtomymusic?id=x&type=3",
                        "/addtomymusic?id=x&type=4",
                        "/addtomymusic?id=x&type=-1",
                        "/addtomymusic?id=x&type=abc",
                        "/addtomymusic?type=1",
                        "/addtoplaylist",
                        "/addtoplaylist?id=t1",
                        "/addtoplaylist?playlistid=p1",
                        "/addtoplaylist?id=t1&playlistid=p1",
                        "/artistInfo",
                        "/albumInfo",
                        "/playlistInfo",
                        "/setPlaylistInfo",
                        "/tracks",
                        "/tracks?index=5&count=10&source=1",
                        "/tracks?index=x",
                        "/tracks?source=9&token=x",
                        "/artists",
                        "/artists?count=3",
                        "/albums",
                        "/albums?index=1&source=2",
                        "/unknown",
                        "/Track?id=t1",
                        "/artistinfo?id=ar1"}) {
    t.get(std::string("/library") + q);
  }
  for (const char* sub : {"album", "albumv2", "artist", "artistv2"}) {
    const std::string p = std::string("/library/") + sub;
    const bool isAlbum = p.find("album") != std::string::npos;
    t.asks(p + "?id=x1", isAlbum ? "onGetAlbum" : "onGetArtist");
    t.counted(p,
              {{"id", "x1"}, {"index", "2"}, {"count", "5"}, {"sortBy", "3"}, {"reverseSort", "1"}},
              2);
    t.get(p + "?id=x1&token=x");
  }
  t.asks("/library/artistInfo?id=ar1", "onGetArtistInfo");
  t.asks("/library/albumInfo?id=al1", "onGetAlbumInfo");
  t.asks("/library/playlistInfo?id=p1", "onGetPlaylistInfo");
  t.get("/library/playlistInfo?id=p1&token=x");
  t.asks("/library/setPlaylistInfo?id=p1", "onSetPlaylistInfo");
  t.counted("/library/setPlaylistInfo",
            {{"id", "p1"},
             {"info", "new%20info"},
             {"name", "Late"},
             {"artwork", "art-7"},
             {"artist", "ar1"}},
            2);
  t.get("/library/setPlaylistInfo?name=x&id=p1");
  t.get("/Library/track?id=t1");
}

void namedRouteCases(Table& t, Env& env) {
  // The player routes compare the first segment lower-cased.
  for (const char* p :
       {"/playerping", "/PlayerPing", "/playerheartbeat", "/PLAYERHEARTBEAT", "/playerpause",
        "/PlayerPause", "/playerplay", "/PlayerPlay", "/playersetitem", "/PlayerSetItem?item=x"}) {
    t.get(p);
  }
  t.asks("/playerping", "onPlayerPing");
  t.asks("/playerheartbeat", "onPlayerHeartbeat");
  t.asks("/playerpause", "onPlayerPause");
  t.asks("/playerplay?playState=1&itemID=t1", "onPlayerPlay");
  t.get("/playerplay?itemID=t2&extra=1");

  const std::string item = percentEncode(
      R"({"item":{"title":"Song","recording":{"title":"Rec","artistName":"Band"}},"streamObj":{"trackId":42,"streamLink":"http://s/1?a=b"}})");
  t.asks("/playersetitem?item=" + item + "&isNext=1", "onPlayerSetItem");
  t.get("/playersetitem?item=" + item);
  t.get("/playersetitem?item=" +
        percentEncode(R"({"item":{"title":"Song"},"streamObj":{"trackId":42}})"));
  t.get(
      "/playersetitem?item=" +
      percentEncode(
          R"({"item":{"title":"S","recording":{"title":"R","artistName":"B"}},"streamObj":{"trackId":"42","streamLink":"x"}})"));
  t.get("/playersetitem?item=%7Bnot%20json");

  t.asks("/getHeartbeat", "onGetHeartbeat");
  t.asks("/scanGetProgress", "onScanGetProgress");
  t.get("/scanGetProgress?which=itunes");

  t.get("/login");
  t.get("/login?username=a&password=b");
  t.asks("/login?username=me%40example.com&password=p%26ss&which=tidal%20hifi", "onLogin");
  t.asks("/getLogin?which=tidal", "onGetLogin");
  t.get("/getLogin");
  t.get("/logout");
  t.asks("/logout?which=tidal", "onLogout");
  t.asks("/quit", "onQuit");
  t.asks("/ping", "onPing");
  t.get("/ping?x=1&y=2");
  t.asks("/pairing", "onPairing");
  t.asks("/save", "onSave");

  t.asks("/getStash", "onGetUserStash");
  {
    Case& c = t.get("/getStash");
    Env* e = &env;
    c.host = [e] {
      e->host->onCall("onGetUserStash",
                      [e] { lib(*e)->setGetUserStashResponse("this is not JSON"); });
    };
    c.after = [e](const Reply&) {
      e->host->onCall("onGetUserStash",
                      [e] { lib(*e)->setGetUserStashResponse(R"({"items":[{"sku":"s1"}]})"); });
    };
  }
  t.asks("/getDevices", "onGetDevices");
  t.asks(
      "/setDevice?currentDevice=USB%20DAC&currentChannels=2&currentSampleRate=96000"
      "&currentBufferSize=512",
      "onSetDevice");
  t.get("/setDevice");
  t.asks("/getOptions", "onGetOptions");
  t.asks("/getAppConfig", "onGetAppConfig");
  t.get("/getOptions");
  const std::vector<std::pair<std::string, std::string>> options = {
      {"checkForUpdates", "1"},      {"maxDownloads", "3"},     {"addToITunes", "0"},
      {"createITunesPlaylist", "0"}, {"retryTime", "30"},       {"retryCount", "5"},
      {"dsdEnabled", "1"},           {"dsdFilterEnabled", "0"}, {"dsdGain", "6"},
      {"tidalQuality", "HI_RES"},    {"upSample", "1"},         {"scanLevel", "2"},
      {"bypassMode", "0"},           {"artCache", "1"},         {"mqa", "1"}};
  t.counted("/setOptions", options);
  t.get("/setOptions?" + pairs(options, 6) + "&mqa=1");
  t.get(
      "/setOptions?mqa=1&artCache=1&bypassMode=0&scanLevel=2&upSample=1&tidalQuality=x&"
      "dsdGain=6&zzz=1&yyy=2&xxx=3&www=4&vvv=5");
  t.asks("/setOptions?" + pairs(options, 15), "onSetOptions");
  t.asks("/addToLibrary?id=al1", "onAddToLibrary");
  t.asks("/deviceWindow?which=output", "onDeviceWindow");
  t.asks("/selectLocalArtworkLocation?id=a1", "onSelectLocalArtworkLocation");
  t.asks("/getLocalArtworkLocation", "onGetLocalArtworkLocation");
  t.asks("/selectLocalDownloadLocation", "onSelectLocalDownloadLocation");
  t.asks("/getLocalDownloadLocation", "onGetLocalDownloadLocation");

  t.get("/getItemsForSkuId");
  t.asks("/getItemsForSkuId?sku=s1", "onGetItemsForSkuId");
  t.get("/addDownload?sku=s1&url=u&title=t");
  t.asks("/addDownload?sku=s1&url=http%3A%2F%2Fx%2Fy&title=My%20Album&mediaId=m9",
         "onAddStashItem");
  for (const char* route :
       {"removeDownload", "startDownload", "cancelDownload", "pauseDownload", "resumeDownload"}) {
    const std::string callback =
        std::string(route) == "removeDownload"
            ? "onRemoveStashItem"
            : "on" + std::string(1, static_cast<char>(std::toupper(route[0]))) + (route + 1);
    t.get(std::string("/") + route);
    t.asks(std::string("/") + route + "?sku=s1", callback);
  }
  t.asks("/getDownloadStatus?sku=s1", "onGetDownloadStatus");

  t.asks("/scan", "onScanFiles");
  t.get("/scan?which=local");
  t.asks("/scanLocalAudioFiles?which=itunes", "onScanFiles");
  t.asks("/scanCancel", "onScanCancel");
  t.get("/scanCancel?which=itunes");
  t.asks("/clearLocalCache", "onClearLocalCache");
  t.get("/clearCache?which=tidal");

  t.get("/getLocalLibrary");
  t.get("/getLocalLibrary?index=1&count=2");
  t.asks("/getLocalLibrary?id=tracks", "onGetLocalLibrary", {0, 1, 5, 7, 8});
  t.counted("/getLocalLibrary",
            {{"id", "albums"},
             {"index", "0"},
             {"count", "50"},
             {"sortBy", "2"},
             {"reverseSort", "1"},
             {"etag", "e1"},
             {"filter", "local"}},
            2);
  t.get("/getLocalLibrary?id=artists&filter=tidal&zzz=1");
  t.get("/getLibrary?id=playlists");

  t.asks("/inputmode?enabled=1&source=usb", "onInputMode");
  t.get("/inputMode?enabled=0");
  t.get("/InputMode?enabled=0");
  t.asks("/setPlayState?state=play", "onSetPlayState");
  t.asks("/getPlayState", "onGetPlayState");
  t.get("/setPlaybackItem");
  t.get("/setPlaybackItem?uuid=t1");
  t.asks("/setPlaybackItem?uuid=t1&play=1", "onSetPlaybackItem");
  t.counted(
      "/setPlaybackItem",
      {{"uuid", "t1"}, {"play", "1"}, {"sortBy", "2"}, {"reverseSort", "1"}, {"parentuuid", "al1"}},
      3);
  t.asks("/showTrackFile?uuid=t1", "onShowTrackFile");
  t.asks("/getAvailableYearsForArtist?uuid=ar1", "onGetAvailableYearsForArtist");
  t.asks("/getNowPlaying", "onGetNowPlaying");
  t.asks("/setHistory?b=2&a=1&a=3&c=x%20y", "onSetHistory");
  t.get("/setHistory");
  t.asks("/getHistory", "onGetHistory");
  t.asks("/createPlaylist?name=Road%20Trip", "onCreatePlaylist");
  t.asks("/deletePlaylist?uuid=p1", "onDeletePlaylist");
  t.asks("/deleteItem?uuid=p1&id=t1&removeFromComputer=true", "onDeleteItem");
  t.asks("/addItemToPlaylist?playlistUuid=p1&itemUuid=t2", "onAddItemToPlaylist");
  t.get("/addItemToList?playlistUuid=p1&itemUuid=t1");
  t.asks("/removeItemFromPlaylist?playlistUuid=p1&itemUuid=t2", "onRemoveItemFromPlaylist");
  t.get("/removeItemFromList?playlistUuid=p1&itemUuid=t1");
  t.asks("/moveItemInPlaylist?playlistUuid=p1&itemUuid=t2&toPosition=0", "onMoveItemInPlaylist");
  for (const char* route : {"search", "searchTidal"}) {
    const std::string p = std::string("/") + route;
    t.asks(p + "?which=albums&searchTerm=kind%20of",
           route == std::string("search") ? "onSearch" : "onSearchTidal");
    t.counted(p, {{"which", "tracks"}, {"searchTerm", "blue"}, {"index", "10"}, {"count", "20"}},
              3);
    t.get(p + "?count=20&index=10");
  }

  // Presets: each stage's getters share one answer; AC answers with HP's.
  t.asks("/getEQPresetList", "onGetEQPresetList");
  t.asks("/getEQ", "onGetEQPreset");
  t.get("/getEq");
  t.get("/setEQ");
  t.get("/setEQ?enable=1");
  t.asks("/setEQ?enable=1&preset=Rock", "onSetEQPreset");
  t.get("/setEq?preset=Flat&enable=0");
  t.asks("/getHPPresetList", "onGetHPPresetList");
  t.asks("/getHP", "onGetHPPreset");
  t.get("/getHp");
  t.get("/setHP?preset=Open");
  t.asks("/setHP?enable=1&preset=Open", "onSetHPPreset");
  t.get("/setHp?enable=true&preset=Closed");
  t.asks("/navigation?which=back", "onNavigation");
  t.asks("/getIRCPresetList", "onGetIRCPresetList");
  t.asks("/getIRC", "onGetIRCPreset");
  t.get("/setIRC?enable=1");
  t.asks("/setIRC?enable=1&preset=Room", "onSetIRCPreset");
  t.asks("/getACPresetList", "onGetACPresetList");
  t.asks("/getAC", "onGetACPreset");
  t.get("/setAC");
  t.asks("/setAC?enable=0&preset=Warm", "onSetACPreset");
  for (const char* p :
       {"/getIrc", "/getAc", "/setIrc?enable=1&preset=x", "/getEQpresetlist", "/geteq", "/GETEQ"}) {
    t.get(p);
  }
  t.get("/log?message=hello%20world");
  t.get("/log");
  t.get("/debug?x=1");
  t.get("/Log");
}

void statusCases(Table& t, Env& env, bool paired) {
  auto* service = env.service;
  t.get("/status");
  t.get("/status?x=1");
  t.host("setVolumeLevel(44), setMuteState(true)", [service] {
    service->getPlaybackService()->setVolumeLevel(44);
    service->getPlaybackService()->setMuteState(true);
  });
  t.get("/status/extra");
  t.get("/status");
  // Above the threshold the reply goes out compressed.
  t.host("setPlaylist(...), ZIP_THRESHOLD = 64", [service] {
    Items items;
    service->getLibraryService()->setPlaylist(items.playlists[0]);
    ZIP_THRESHOLD = 64;
  });
  t.get("/status");
  t.host("ZIP_THRESHOLD = 104857600", [] { ZIP_THRESHOLD = 104857600; });
  t.get("/Status");
  if (paired) t.get("/changes?token=${token1001}&wait=0&since=0");
}

// The feed compresses a large reply for a client that accepts gzip.
void bigFeedCases(Table& t, Env& env) {
  auto* service = env.service;
  t.host("setTrackList(400 tracks)", [service] {
    std::vector<Track*> tracks;
    for (int i = 0; i < 400; ++i) {
      Track* track = Track::getTrack(VeloraSourceLocal, ("q" + std::to_string(i)).c_str());
      track->setTrackName(("Track number " + std::to_string(i)).c_str());
      track->setArtistName("Queue Artist");
      tracks.push_back(track);
    }
    service->getLibraryService()->setTrackList(tracks, 0);
    for (Track* track : tracks) track->Release();
  });
  t.get("/changes?token=${token1001}&wait=0").headers = {{"Accept-Encoding", "gzip"}};
}

// Without an index page the root is just another unknown path.
void rootWithoutIndexCase(Table& t, const std::string& pages) {
  Case& c = t.get("/");
  c.host = [pages] {
    std::rename((pages + "/index.html").c_str(), (pages + "/index.off").c_str());
  };
  c.after = [pages](const Reply&) {
    std::rename((pages + "/index.off").c_str(), (pages + "/index.html").c_str());
  };
}

void unknownAndPageCases(Table& t, Env& env) {
  for (const char* p : {"/",
                        "/index.html",
                        "/app.js",
                        "/style.css",
                        "/logo.png",
                        "/UPPER.JS",
                        "/noext",
                        "/sub/",
                        "/sub/index.html",
                        "/sub",
                        "/empty/",
                        "/empty",
                        "/missing.html",
                        "/index.html?x=1",
                        "/%69ndex.html",
                        "/../bin/pages/app.js",
                        "/%2e%2e/pages/app.js",
                        "/sub/../app.js",
                        "/..%2fpages%2fapp.js",
                        "/index.html%00.png"}) {
    t.get(p);
  }
  rootWithoutIndexCase(t, env.pagesDir);
  for (const char* p : {"/Ping", "/PING", "/nosuch", "/no%20such/path?x=1", "/%C3%A9t%C3%A9",
                        "/getdevices", "/GetDevices", "/Authenticate?code=1", "/Disconnect?code=1",
                        "/Settings/output", "/changesx", "/statusx"}) {
    t.get(p);
  }
  // A file the client names by its path on the computer: the host decides.
  const std::string dir = env.hostDir;
  Host* host = env.host;
  t.get(dir + "/allowed.txt");
  for (const std::string& p :
       {dir + "/allowed.txt", dir + "/cover.jpg", dir + "/folder/", dir + "/missing.txt"}) {
    Case& c = t.get(p);
    c.host = [host] { host->allowPages = true; };
    c.after = [host](const Reply&) { host->allowPages = false; };
  }
  t.get(dir + "/folder/");
}

}  // namespace

void prepareHost(Env& env) {
  Host& h = *env.host;
  Env* e = &env;
  auto on = [&h](const char* callback, std::function<void()> action) {
    h.onCall(callback, std::move(action));
  };
  // Requests whose answer the host stores before it returns.
  on("onLogin", [e] { lib(*e)->setLoginResponse("user-token-1"); });
  on("onGetLogin", [e] {
    lib(*e)->setGetLoginResponse("me", "secret", "user-token-1", "tidal-me", "tidal-secret",
                                 "tidal");
  });
  on("onGetUserStash", [e] { lib(*e)->setGetUserStashResponse(R"({"items":[{"sku":"s1"}]})"); });
  on("onGetItemsForSkuId",
     [e] { lib(*e)->setGetItemsForSkuIdResponse(R"([{"sku":"s1","title":"One"}])"); });
  on("onGetDownloadStatus",
     [e] { lib(*e)->setGetDownloadStatusResponse(R"({"s1":{"progress":0.5}})"); });
  on("onGetLocalLibrary", [e] {
    Items items;
    lib(*e)->setGetLocalLibraryTracks(items.tracks, "etag-1", 2, 40);
  });
  on("onGetDevices", [e] {
    lib(*e)->setGetDevicesResponse(R"({"devices":[{"name":"USB DAC","rates":[44100,96000]}]})");
  });
  on("onGetOptions", [e] { lib(*e)->setGetOptionsResponse(R"({"maxDownloads":3,"z":1,"a":2})"); });
  on("onGetAppConfig", [e] { lib(*e)->setGetAppConfigResponse(R"({"appConfig":true})"); });
  on("onSelectLocalDownloadLocation",
     [e] { lib(*e)->setGetLocalDownloadLocationResponse(R"({"path":"/downloads"})"); });
  on("onGetLocalDownloadLocation",
     [e] { lib(*e)->setGetLocalDownloadLocationResponse(R"({"path":"/downloads/2"})"); });
  on("onSelectLocalArtworkLocation",
     [e] { lib(*e)->setGetArtworkLocationResponse(R"({"path":"/artwork"})"); });
  on("onGetLocalArtworkLocation",
     [e] { lib(*e)->setGetArtworkLocationResponse(R"({"path":"/artwork/2"})"); });
  on("onGetPlayState", [e] { lib(*e)->setGetPlayStateResponse(R"({"state":"playing"})"); });
  on("onGetAvailableYearsForArtist",
     [e] { lib(*e)->setGetAvailableYearsForArtistResponse("[1959,1970]"); });
  on("onGetNowPlaying", [e] {
    Items items;
    lib(*e)->setGetNowPlayingResponse(items.tracks);
  });
  on("onGetArtist", [e] {
    Items items;
    lib(*e)->setGetArtistResponse(items.albums, 1);
  });
  on("onGetArtistInfo", [e] {
    Items items;
    lib(*e)->setGetArtistResponse(items.artists, 1);
  });
  on("onGetAlbum", [e] {
    Items items;
    lib(*e)->setAlbum(items.albums[0]);
  });
  on("onGetAlbumInfo", [e] {
    Items items;
    lib(*e)->setGetAlbumResponse(items.albums, 1);
  });
  on("onGetPlaylistInfo", [e] {
    Items items;
    lib(*e)->setGetPlaylistResponse(items.playlists, 1);
  });
  on("onCreatePlaylist", [e] {
    Items items;
    lib(*e)->setCreatePlaylistResponse(items.playlists);
  });
  on("onScanGetProgress", [e] { lib(*e)->setScanProgressResponse(42.5f, "Scanning \"B\""); });
  on("onGetHistory", [e] { lib(*e)->setGetHistoryResponse(R"(["t1","t2"])"); });
  on("onSearch", [e] {
    Items items;
    lib(*e)->setSearchResponse(items.albums);
  });
  on("onSearchTidal", [e] {
    Items items;
    lib(*e)->setSearchResponse(items.tracks);
  });
  on("onGetHeartbeat", [e] { lib(*e)->setGetHeartbeatResponse(R"({"alive":1})"); });
  for (const char* player : {"onPlayerPing", "onPlayerHeartbeat", "onPlayerPlay"}) {
    on(player, [e, player] {
      lib(*e)->setPlayerResponse((std::string(R"({"player":")") + player + "\"}").c_str());
    });
  }
  // onPlayerPause stores nothing: its reply shows what the slot holds.
  on("onGetEQPreset",
     [e] { e->service->getEqualizerService()->setGetEQPresetResponse(R"({"eq":"Flat"})"); });
  on("onGetEQPresetList",
     [e] { e->service->getEqualizerService()->setGetEQPresetListResponse(R"(["Flat","Rock"])"); });
  on("onGetHPPreset",
     [e] { e->service->getHPService()->setGetHPPresetResponse(R"({"hp":"Open"})"); });
  on("onGetHPPresetList",
     [e] { e->service->getHPService()->setGetHPPresetListResponse(R"(["Open","Closed"])"); });
  on("onGetIRCPreset",
     [e] { e->service->getIRCService()->setGetIRCPresetResponse(R"({"irc":"Room"})"); });
  on("onGetIRCPresetList",
     [e] { e->service->getIRCService()->setGetIRCPresetListResponse(R"(["Room","Hall"])"); });

  // Library views the host pushes while the request waits.
  on("onRequestLibrary", [e] { lib(*e)->setMyLibraryItemDirty(); });
  on("onRequestTrack", [e] {
    Items items;
    lib(*e)->setTrackInfo(items.tracks[1]);
  });
  on("onRequestArtwork", [e] { lib(*e)->setArtworkData("/art/p1.jpg", "art-3"); });
  on("onRequestSearch", [e] {
    Items items;
    lib(*e)->setSearchResults({}, items.albums, {}, {}, "blue note");
  });
  on("onRequestPlaynext", [e] {
    Items items;
    lib(*e)->setPlaynextList(items.tracks);
  });
  on("onRequestGenres", [e] {
    Items items;
    lib(*e)->setGenreList(items.genres);
  });
  on("onRequestGenre", [e] {
    Items items;
    lib(*e)->setGenre(items.genres[0]);
  });
  on("onRequestPlaylists", [e] {
    Items items;
    lib(*e)->setPlaylistList(items.playlists);
  });
  on("onRequestPlaylist", [e] {
    Items items;
    lib(*e)->setPlaylist(items.playlists[0]);
  });
  on("onRequestMoods", [e] {
    Items items;
    lib(*e)->setMoodList(items.moods);
  });
  on("onRequestTracks", [e] {
    Items items;
    lib(*e)->setTrackList(items.tracks, 0);
  });
  on("onRequestAlbums", [e] {
    Items items;
    lib(*e)->setAlbumList(items.albums, 0);
  });
  on("onRequestArtists", [e] {
    Items items;
    lib(*e)->setArtistList(items.artists, 0);
  });

  // State the getters of the playback area answer with.
  on("onRequestVolume", [e] { e->service->getPlaybackService()->setVolumeLevel(40); });
  on("onRequestMute", [e] { e->service->getPlaybackService()->setMuteState(true); });
  on("onRequestPlayerState", [e] {
    PlaybackState s = playingState();
    s.state = 2;
    s.trackid = nullptr;
    s.error = "stalled";
    e->service->getPlaybackService()->setPlaybackState(s);
  });
  on("onRequestMode", [e] {
    PlaybackMode m{3};
    e->service->getPlaybackService()->setPlaybackMode(m);
  });
  on("onRequestOutputDevices", [e] {
    std::vector<const char*> outputs{"Speakers"};
    e->service->getSettingsService()->setOutputDeviceList(outputs, "Speakers");
  });
  on("onRequestSettingsValues",
     [e] { e->service->getSettingsService()->setSettingsValues(false, true, false); });
  on("onRequestEQState", [e] { e->service->getEqualizerService()->setEQState(false); });
  on("onRequestIRCGain", [e] { e->service->getIRCService()->setIRCGain(-4); });

  pushState(env);
}

std::vector<Case> buildCases(Env& env) {
  Table t(env);
  statusCases(t, env, false);  // delivers the state the host pushed first
  connectionCases(t, env);
  dspCases(t);
  playbackCases(t);
  settingsCases(t);
  t.get("/status");
  libraryCases(t);
  t.get("/status");
  namedRouteCases(t, env);
  t.get("/status");
  unknownAndPageCases(t, env);
  statusCases(t, env, true);
  bigFeedCases(t, env);
  return t.cases;
}

}  // namespace transcript

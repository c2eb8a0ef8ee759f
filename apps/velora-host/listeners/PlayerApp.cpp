#include "listeners/Areas.h"

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

// Where the transport is, as the player application's endpoints tell it.
JsonObject transportJson(const TransportSnapshot& s) {
  return JsonObject()
      .add("state", transportName(s.transport))
      .add("trackId", s.trackId)
      .add("elapsed", s.elapsed)
      .add("duration", s.duration);
}

// The application's own transport endpoints and its embedded player.
class PlayerAppListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onSetPlayState(const char*& state, int& status) override {
    host_.console.call("onSetPlayState", state);
    const std::string s = text(state);
    bool ok = true;
    bool moved = false;
    if (s == "play") {
      ok = host_.player.play();
    } else if (s == "pause") {
      host_.player.pause();
    } else if (s == "stop") {
      host_.player.stop();
    } else if (s == "toggle" || s == "playpause") {
      ok = host_.player.togglePlayPause();
    } else if (s == "next") {
      ok = moved = host_.player.next();
    } else if (s == "previous") {
      ok = moved = host_.player.previous();
    } else {
      ok = false;
    }
    status = ok ? kOk : kFailed;
    if (ok) host_.publish.transport(moved);
  }

  void onGetPlayState(int& status) override {
    host_.console.call("onGetPlayState");
    const TransportSnapshot s = host_.player.transport();
    const std::string json = transportJson(s)
                                 .add("volume", s.volume)
                                 .add("muted", s.muted)
                                 .add("mode", static_cast<int>(s.mode))
                                 .str();
    status = answer(&Library::setGetPlayStateResponse, json);
  }

  void onSetPlaybackItem(const char*& uuid, const char*& play, const char*& sortBy,
                         const char*& reverseSort, const char*& parentuuid, int& status) override {
    host_.console.call("onSetPlaybackItem", uuid, play, sortBy, reverseSort, parentuuid);
    const std::string item = text(uuid);
    const std::string parent = text(parentuuid);
    const bool start = flag(play);
    bool ok = false;
    if (!parent.empty()) {
      // A track played from the list it was shown in.
      ok = host_.player.playList(parent, 0, item, start);
    }
    if (!ok) {
      CatalogTrack track;
      ok = host_.player.findTrack(item, track) ? host_.player.playTrack(item, start)
                                               : host_.player.playList(item, 0, "", start);
    }
    status = ok ? kOk : kFailed;
    if (ok) {
      host_.publish.transport(true);
      host_.publish.queue();
    }
  }

  void onShowTrackFile(const char*& uuid, int& status) override {
    host_.console.call("onShowTrackFile", uuid);
    CatalogTrack track;
    status = ifDone(host_.player.findTrack(text(uuid), track), [&] {
      host_.console.say("track file: " +
                        (track.path.empty() ? "(generated, no file)" : track.path));
    });
  }

  void onGetAvailableYearsForArtist(const char*& uuid, int& status) override {
    host_.console.call("onGetAvailableYearsForArtist", uuid);
    const bool known = host_.player.withLibrary(
        [&](const LibraryView& lib) { return lib.catalog.artist(text(uuid)) != nullptr; });
    if (!known) {
      status = kFailed;
      return;
    }
    std::vector<std::string> years;
    for (int y : host_.player.yearsOf(text(uuid))) years.push_back(std::to_string(y));
    const std::string json =
        JsonObject().add("id", text(uuid)).raw("years", jsonArray(years)).str();
    status = answer(&Library::setGetAvailableYearsForArtistResponse, json);
  }

  void onGetNowPlaying(int& status) override {
    host_.console.call("onGetNowPlaying");
    const std::vector<std::string> ids = host_.player.queue();
    LibraryItems items(host_.player);
    library().setGetNowPlayingResponse(
        items.read([&](const LibraryView& lib, ItemPool& pool) { return pool.tracks(lib, ids); }));
    status = kOk;
  }

  void onPlayerSetItem(const char*& streamLink, const char*& trackId, const char*& isNext,
                       const char*& artistName, const char*& recordingTitle, const char*& itemTitle,
                       const char*& reserved, int& status) override {
    host_.console.call("onPlayerSetItem", streamLink, trackId, isNext, artistName, recordingTitle,
                       itemTitle, reserved);
    if (text(trackId).empty() && text(streamLink).empty()) {
      status = kFailed;
      return;
    }
    const std::string title = text(itemTitle).empty() ? text(recordingTitle) : text(itemTitle);
    const bool next = flag(isNext);
    host_.player.addStreamTrack(text(trackId), title, text(artistName), text(recordingTitle), next);
    host_.publish.queue();
    if (!next) host_.publish.transport(true);
    status = kOk;
  }

  void onPlayerPing(int& status) override {
    host_.console.call("onPlayerPing");
    answerPlayer();
    status = kOk;
  }

  void onPlayerPlay(const char*& playState, const char*& itemID, int& status) override {
    host_.console.call("onPlayerPlay", playState, itemID);
    const std::string state = text(playState);
    const std::string item = text(itemID);
    bool ok = true;
    bool moved = false;
    if (!item.empty()) {
      CatalogTrack track;
      const std::string id = host_.player.findTrack(item, track) ? item : "stream-" + item;
      ok = moved = host_.player.playTrack(id, state != "pause");
    } else if (state == "pause") {
      host_.player.pause();
    } else {
      ok = host_.player.play();
    }
    if (!ok) {
      status = kFailed;
      return;
    }
    host_.publish.transport(moved);
    answerPlayer();
    status = kOk;
  }

  void onPlayerPause(int& status) override {
    host_.console.call("onPlayerPause");
    host_.player.pause();
    host_.publish.transport(false);
    answerPlayer();
    status = kOk;
  }

  void onPlayerHeartbeat(int& status) override {
    host_.console.call("onPlayerHeartbeat");
    answerPlayer();
    status = kOk;
  }

 private:
  void answerPlayer() {
    library().setPlayerResponse(transportJson(host_.player.transport()).str().c_str());
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> playerAppListener(HostContext& host) {
  return std::make_unique<PlayerAppListener>(host);
}

}  // namespace refhost

#include "listeners/Areas.h"

#include <sstream>

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

// Playlist edits, "My Music", the play history and searches.
class PlaylistsListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onAddToMyMusic0(const char*& id) override {
    host_.console.call("onAddToMyMusic0", id);
    addToMyMusic(0, text(id));
  }

  void onAddToMyMusic1(const char*& id) override {
    host_.console.call("onAddToMyMusic1", id);
    addToMyMusic(1, text(id));
  }

  void onAddToMyMusic2(const char*& id) override {
    host_.console.call("onAddToMyMusic2", id);
    addToMyMusic(2, text(id));
  }

  void onAddToMyMusic3(const char*& id) override {
    host_.console.call("onAddToMyMusic3", id);
    addToMyMusic(3, text(id));
  }

  void onRequestAddToPlaylist(const char*& id, const char*& playlistId) override {
    host_.console.call("onRequestAddToPlaylist", id, playlistId);
    if (host_.player.addToPlaylist(text(playlistId), text(id))) publishPlaylist(text(playlistId));
  }

  void onRequestCreatePlaylist(const char*& name) override {
    host_.console.call("onRequestCreatePlaylist", name);
    const std::string id = host_.player.createPlaylist(text(name));
    if (!id.empty()) publishPlaylist(id);
  }

  void onSetPlaylistInfo(const char*& id, const char*& info, const char*& name,
                         const char*& artwork, const char*& artist, int& status) override {
    host_.console.call("onSetPlaylistInfo", id, info, name, artwork, artist);
    const std::string playlist = text(id);
    status = ifDone(host_.player.setPlaylistInfo(playlist, decoded(name), decoded(info)),
                    [&] { publishPlaylist(playlist); });
  }

  void onDeleteItem(const char*& uuid, const char*& id, const char*& removeFromComputer,
                    int& status) override {
    host_.console.call("onDeleteItem", uuid, id, removeFromComputer);
    // Items leave playlists; files never leave the computer from a remote.
    const std::string playlist = text(uuid);
    status = ifDone(host_.player.removeFromPlaylist(playlist, text(id)),
                    [&] { publishPlaylist(playlist); });
  }

  void onCreatePlaylist(const char*& name, int& status) override {
    host_.console.call("onCreatePlaylist", name);
    const std::string id = host_.player.createPlaylist(decoded(name));
    status = ifDone(!id.empty(), [&] {
      LibraryItems items(host_.player);
      library().setCreatePlaylistResponse(std::vector<Playlist*>{items.playlist(id)});
      publishPlaylist(id);
    });
  }

  void onDeletePlaylist(const char*& uuid, int& status) override {
    host_.console.call("onDeletePlaylist", uuid);
    status = ifDone(host_.player.deletePlaylist(text(uuid)), [&] { publishPlaylists(); });
  }

  void onAddItemToPlaylist(const char*& playlistUuid, const char*& itemUuid, int& status) override {
    host_.console.call("onAddItemToPlaylist", playlistUuid, itemUuid);
    const std::string playlist = text(playlistUuid);
    status = ifDone(host_.player.addToPlaylist(playlist, text(itemUuid)),
                    [&] { publishPlaylist(playlist); });
  }

  void onRemoveItemFromPlaylist(const char*& playlistUuid, const char*& itemUuid,
                                const char*& removeFromComputer, int& status) override {
    host_.console.call("onRemoveItemFromPlaylist", playlistUuid, itemUuid, removeFromComputer);
    const std::string playlist = text(playlistUuid);
    status = ifDone(host_.player.removeFromPlaylist(playlist, text(itemUuid)),
                    [&] { publishPlaylist(playlist); });
  }

  void onMoveItemInPlaylist(const char*& playlistUuid, const char*& itemUuid,
                            const char*& toPosition, int& status) override {
    host_.console.call("onMoveItemInPlaylist", playlistUuid, itemUuid, toPosition);
    const std::string playlist = text(playlistUuid);
    status = ifDone(host_.player.moveInPlaylist(playlist, text(itemUuid), number(toPosition, -1)),
                    [&] { publishPlaylist(playlist); });
  }

  // A client reports what it played as "key=value," pairs; the track's id
  // comes under one of a few names.
  void onSetHistory(const char*& history, int& status) override {
    host_.console.call("onSetHistory", history);
    std::istringstream pairs(decoded(history));
    std::string pair;
    std::string trackId;
    while (std::getline(pairs, pair, ',')) {
      const auto eq = pair.find('=');
      if (eq == std::string::npos) continue;
      const std::string key = pair.substr(0, eq);
      if (key == "trackid" || key == "trackId" || key == "id" || key == "uuid") {
        trackId = pair.substr(eq + 1);
      }
    }
    CatalogTrack track;
    if (trackId.empty() || !host_.player.findTrack(trackId, track)) {
      status = kFailed;
      return;
    }
    host_.player.addHistory(trackId);
    status = kOk;
  }

  void onGetHistory(int& status) override {
    host_.console.call("onGetHistory");
    const std::vector<HistoryEntry> history = host_.player.history();
    const double now = history.empty() ? 0 : history.back().at;
    const std::string items = host_.player.withLibrary([&](const LibraryView& lib) {
      std::vector<std::string> out;
      // Most recent first.
      for (auto it = history.rbegin(); it != history.rend(); ++it) {
        const CatalogTrack* t = lib.track(it->trackId);
        if (t == nullptr) continue;
        const CatalogArtist* artist = lib.catalog.artist(t->artistId);
        const CatalogAlbum* album = lib.catalog.album(t->albumId);
        out.push_back(JsonObject()
                          .add("trackid", t->id)
                          .add("title", t->title)
                          .add("artist", artist ? artist->name : t->artistId)
                          .add("album", album ? album->title : t->albumId)
                          .add("secondsBeforeLast", now - it->at)
                          .str());
      }
      return jsonArray(out);
    });
    status = answer(&Library::setGetHistoryResponse, JsonObject().raw("history", items).str());
  }

  void onSearch(const char*& which, const char*& searchTerm, const char*& index, const char*& count,
                int& status) override {
    host_.console.call("onSearch", which, searchTerm, index, count);
    status =
        answerSearch(text(which), decoded(searchTerm), number(index, -1), number(count, -1), false)
            ? kOk
            : kFailed;
  }

  // The streaming catalogue of the demo account is the local library again;
  // without a signed-in account there is nothing to search.
  void onSearchTidal(const char*& which, const char*& searchTerm, const char*& index,
                     const char*& count, int& status) override {
    host_.console.call("onSearchTidal", which, searchTerm, index, count);
    if (host_.player.user().empty()) {
      status = kFailed;
      return;
    }
    status =
        answerSearch(text(which), decoded(searchTerm), number(index, -1), number(count, -1), true)
            ? kOk
            : kFailed;
  }

 private:
  bool answerSearch(const std::string& which, const std::string& term, int index, int count,
                    bool streaming) {
    const Kind kind = kindOf(which);
    if (kind == Kind::Unknown) return false;
    LibraryItems items(host_.player);
    IVeloraLibraryService& service = library();
    items.read([&](const LibraryView& lib, ItemPool& pool) {
      const Catalog::SearchResult found = lib.catalog.search(term);
      switch (kind) {
        case Kind::Tracks:
          return service.setSearchResponse(pool.listItems(lib, found.tracks, index, count));
        case Kind::Albums:
          return service.setSearchResponse(pool.listItems(lib, found.albums, index, count));
        case Kind::Artists:
          return service.setSearchResponse(pool.listItems(lib, found.artists, index, count));
        case Kind::Playlists:
          return service.setSearchResponse(
              pool.listItems(lib, playlistsNamed(lib.catalog, term), index, count));
        case Kind::Unknown:
          break;
      }
    });
    (void)streaming;
    return true;
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> playlistsListener(HostContext& host) {
  return std::make_unique<PlaylistsListener>(host);
}

}  // namespace refhost

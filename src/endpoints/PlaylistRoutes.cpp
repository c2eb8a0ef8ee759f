#include "endpoints/EndpointRoutes.h"

// Playlist editing, history and search of the player application.

namespace {
using L = IVeloraLibraryServiceListener;

SuccessReply slot(web::json::value ResponseSlots::*s) { return SuccessReply::fromSlot(s, true); }

// Every pair, in key order, as "key=value," one after the other.
Answer setHistory(Call& c) {
  std::string history;
  for (const auto& [key, value] : c.r.query) history += key + "=" + value + ",";
  CText text(history);
  return conclude(c, c.u.hub.ask(&L::onSetHistory, text), {"handleSetHistory FAILED"});
}

std::vector<Arg> searchArgs() {
  using namespace arg;
  return {text("which"), text("searchTerm"), after("index", 3, ""), after("count", 4, "")};
}
}  // namespace

const RouteList& playlistRoutes() {
  using namespace arg;
  static const Handler addItem = ask(&L::onAddItemToPlaylist, {"handleAddItemToPlaylist FAILED"},
                                     {text("playlistUuid"), text("itemUuid")});
  // Taking an item out of a playlist never deletes its file.
  static const Handler removeItem =
      ask(&L::onRemoveItemFromPlaylist, {"handleRemoveItemFromPlaylist FAILED"},
          {text("playlistUuid"), text("itemUuid"), fixed("false")});
  static const RouteList routes = {
      {"GET", "createPlaylist", "handleCreatePlaylist",
       ask(&L::onCreatePlaylist,
           {"handleCreatePlaylist FAILED", 401, slot(&ResponseSlots::playlist)}, {text("name")})},
      {"GET", "deletePlaylist", "handleDeletePlaylist",
       ask(&L::onDeletePlaylist, {"handleDeletePlaylist FAILED"}, {text("uuid")})},
      {"GET", "deleteItem", "handleDeleteItem",
       ask(&L::onDeleteItem, {"handleDeleteItem FAILED"},
           {text("uuid"), text("id"), text("removeFromComputer")})},
      {"GET", "addItemToPlaylist", "handleAddItemToPlaylist", addItem},
      {"GET", "addItemToList", "handleAddItemToPlaylist", addItem},
      {"GET", "removeItemFromPlaylist", "handleRemoveItemFromPlaylist", removeItem},
      {"GET", "removeItemFromList", "handleRemoveItemFromPlaylist", removeItem},
      {"GET", "moveItemInPlaylist", "handleMoveItemInPlaylist",
       ask(&L::onMoveItemInPlaylist, {"handleMoveItemInPlaylist FAILED"},
           {text("playlistUuid"), text("itemUuid"), text("toPosition")})},
      {"GET", "setHistory", "handleSetHistory", setHistory},
      {"GET", "getHistory", "handleGetHistory",
       ask(&L::onGetHistory, {"handleGetHistory FAILED", 401, slot(&ResponseSlots::history)})},
      {"GET", "search", "handleSearch",
       ask(&L::onSearch, {"Search FAILED", 401, slot(&ResponseSlots::search)}, searchArgs())},
      {"GET", "searchTidal", "handleSearchTidal",
       ask(&L::onSearchTidal, {"Search FAILED", 401, slot(&ResponseSlots::search)}, searchArgs())},
      {"GET", "getAvailableYearsForArtist", "handleGetAvailableYearsForArtist",
       ask(&L::onGetAvailableYearsForArtist,
           {"GetAvailableYearsForArtist FAILED", 401, slot(&ResponseSlots::availableYears)},
           {text("uuid")})},
      {"GET", "showTrackFile", "handleShowTrackFile",
       ask(&L::onShowTrackFile, {"ShowTrackFile FAILED"}, {text("uuid")})},
      // The answer is where the item will be stored: the download location.
      {"GET", "addToLibrary", "handleAddToLibrary",
       ask(&L::onAddToLibrary,
           {"handleAddToLibrary FAILED", 401, slot(&ResponseSlots::downloadLocation)},
           {text("id")})},
  };
  return routes;
}

#include "service/VeloraRestService.h"

using L = IVeloraLibraryServiceListener;

// Playlist editing, history and search of the player application.

void VeloraRestService::handleCreatePlaylist(RouteRequest& r) {
  exchange(
      r,
      {"handleCreatePlaylist FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::playlist, true)},
      &L::onCreatePlaylist, CText(r.text("name")));
}

void VeloraRestService::handleDeletePlaylist(RouteRequest& r) {
  exchange(r, {"handleDeletePlaylist FAILED"}, &L::onDeletePlaylist, CText(r.text("uuid")));
}

void VeloraRestService::handleDeleteItem(RouteRequest& r) {
  exchange(r, {"handleDeleteItem FAILED"}, &L::onDeleteItem, CText(r.text("uuid")),
           CText(r.text("id")), CText(r.text("removeFromComputer")));
}

void VeloraRestService::handleAddItemToPlaylist(RouteRequest& r) {
  exchange(r, {"handleAddItemToPlaylist FAILED"}, &L::onAddItemToPlaylist,
           CText(r.text("playlistUuid")), CText(r.text("itemUuid")));
}

void VeloraRestService::handleRemoveItemFromPlaylist(RouteRequest& r) {
  // Taking an item out of a playlist never deletes its file.
  exchange(r, {"handleRemoveItemFromPlaylist FAILED"}, &L::onRemoveItemFromPlaylist,
           CText(r.text("playlistUuid")), CText(r.text("itemUuid")), CText("false"));
}

void VeloraRestService::handleMoveItemInPlaylist(RouteRequest& r) {
  exchange(r, {"handleMoveItemInPlaylist FAILED"}, &L::onMoveItemInPlaylist,
           CText(r.text("playlistUuid")), CText(r.text("itemUuid")), CText(r.text("toPosition")));
}

void VeloraRestService::handleSetHistory(RouteRequest& r) {
  // Every pair, in key order, as "key=value," one after the other.
  std::string history;
  for (const auto& [key, value] : r.query) history += key + "=" + value + ",";
  exchange(r, {"handleSetHistory FAILED"}, &L::onSetHistory, CText(history));
}

void VeloraRestService::handleGetHistory(RouteRequest& r) {
  exchange(r,
           {"handleGetHistory FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::history, true)},
           &L::onGetHistory);
}

void VeloraRestService::handleSearch(RouteRequest& r) {
  exchange(r, {"Search FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::search, true)},
           &L::onSearch, CText(r.text("which")), CText(r.text("searchTerm")),
           CText(r.optional("index", 3, "")), CText(r.optional("count", 4, "")));
}

void VeloraRestService::handleSearchTidal(RouteRequest& r) {
  exchange(r, {"Search FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::search, true)},
           &L::onSearchTidal, CText(r.text("which")), CText(r.text("searchTerm")),
           CText(r.optional("index", 3, "")), CText(r.optional("count", 4, "")));
}

void VeloraRestService::handleGetAvailableYearsForArtist(RouteRequest& r) {
  exchange(r,
           {"GetAvailableYearsForArtist FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::availableYears, true)},
           &L::onGetAvailableYearsForArtist, CText(r.text("uuid")));
}

void VeloraRestService::handleShowTrackFile(RouteRequest& r) {
  exchange(r, {"ShowTrackFile FAILED"}, &L::onShowTrackFile, CText(r.text("uuid")));
}

void VeloraRestService::handleAddToLibrary(RouteRequest& r) {
  // The answer is where the item will be stored: the download location.
  exchange(r,
           {"handleAddToLibrary FAILED", 401,
            SuccessReply::fromSlot(&ResponseSlots::downloadLocation, true)},
           &L::onAddToLibrary, CText(r.text("id")));
}

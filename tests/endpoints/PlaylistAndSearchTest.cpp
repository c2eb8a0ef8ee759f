#include "EndpointsTestBase.h"

using namespace velora_test;

namespace {

class PlaylistTest : public EndpointsTest {};

TEST_F(PlaylistTest, EditsAndTheirTexts) {
  checkCommands({
      {"/deletePlaylist?uuid=p1", "onDeletePlaylist", "'p1'", "handleDeletePlaylist FAILED"},
      {"/deleteItem?uuid=p1&id=t1&removeFromComputer=true", "onDeleteItem", "'p1' 't1' 'true'",
       "handleDeleteItem FAILED"},
      {"/addItemToList?playlistUuid=p1&itemUuid=t1", "onAddItemToPlaylist", "'p1' 't1'",
       "handleAddItemToPlaylist FAILED"},
      {"/removeItemFromPlaylist?playlistUuid=p1&itemUuid=t1&removeFromComputer=true",
       "onRemoveItemFromPlaylist", "'p1' 't1' 'false'", "handleRemoveItemFromPlaylist FAILED"},
      {"/moveItemInPlaylist?playlistUuid=p1&itemUuid=t1&toPosition=3", "onMoveItemInPlaylist",
       "'p1' 't1' '3'", "handleMoveItemInPlaylist FAILED"},
      {"/showTrackFile?uuid=t1", "onShowTrackFile", "'t1'", "ShowTrackFile FAILED"},
      {"/setHistory?b=2&a=1", "onSetHistory", "'a=1,b=2,'", "handleSetHistory FAILED"},
  });
}

TEST_F(PlaylistTest, AnswersComeFromTheirSlots) {
  host.onCall("onCreatePlaylist", [this] {
    Playlist* p = Playlist::getPlaylist(VeloraSourceLocal, "new");
    s.setCreatePlaylistResponse({p});
    p->Release();
  });
  EXPECT_EQ(
      "new",
      web::json::value::parse(get("/createPlaylist?name=Mix").body).at(0).at("id").as_string());
  host.onCall("onGetHistory", [this] { s.setGetHistoryResponse(R"(["t1"])"); });
  EXPECT_EQ(R"(["t1"])", get("/getHistory").body);
  host.onCall("onGetAvailableYearsForArtist",
              [this] { s.setGetAvailableYearsForArtistResponse("[1999,2004]"); });
  EXPECT_EQ("[1999,2004]", get("/getAvailableYearsForArtist?uuid=a").body);
  host.answer("onGetHistory", 1);
  EXPECT_EQ("\"handleGetHistory FAILED\"", get("/getHistory").body);
  host.answer("onCreatePlaylist", 1);
  EXPECT_EQ("\"handleCreatePlaylist FAILED\"", get("/createPlaylist?name=x").body);
}

TEST_F(PlaylistTest, SearchReadsPagingByCount) {
  host.onCall("onSearch", [this] {
    Track* t = Track::getTrack("hit");
    s.setSearchResponse(std::vector<Track*>{t});
    t->Release();
  });
  const auto hits = web::json::value::parse(get("/search?which=local&searchTerm=blue").body);
  EXPECT_EQ("hit", hits.at(0).at("id").as_string());
  EXPECT_EQ("'local' 'blue' '' ''", host.last("onSearch"));
  // Three pairs: "count" is not read, since it needs four.
  get("/search?which=local&searchTerm=blue&count=5");
  EXPECT_EQ("'local' 'blue' '' ''", host.last("onSearch"));
  get("/searchTidal?which=t&searchTerm=x&index=0&count=20");
  EXPECT_EQ("'t' 'x' '0' '20'", host.last("onSearchTidal"));
  host.answer("onSearchTidal", 3);
  EXPECT_EQ("\"Search FAILED\"", get("/searchTidal?which=t&searchTerm=x").body);
}

}  // namespace

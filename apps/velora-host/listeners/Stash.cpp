#include "listeners/Areas.h"

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

const char* downloadStateName(DownloadState state) {
  switch (state) {
    case DownloadState::Idle:
      return "idle";
    case DownloadState::Downloading:
      return "downloading";
    case DownloadState::Paused:
      return "paused";
    case DownloadState::Done:
      return "done";
  }
  return "idle";
}

std::string stashItemJson(const StashItem& item) {
  return JsonObject()
      .add("sku", item.sku)
      .add("title", item.title)
      .add("url", item.url)
      .add("mediaId", item.mediaId)
      .add("trackCount", static_cast<int>(item.trackIds.size()))
      .add("state", downloadStateName(item.state))
      .add("progress", item.progress)
      .str();
}

// The account's stash and its downloads, and a downloaded item joining the
// library.
class StashListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onGetUserStash(int& status) override {
    host_.console.call("onGetUserStash");
    if (host_.player.user().empty()) {
      status = kFailed;
      return;
    }
    std::vector<std::string> items;
    for (const StashItem& item : host_.player.stash()) items.push_back(stashItemJson(item));
    const std::string json =
        JsonObject().add("user", host_.player.user()).raw("items", jsonArray(items)).str();
    status = answer(&Library::setGetUserStashResponse, json);
  }

  void onAddStashItem(const char*& sku, const char*& url, const char*& title, const char*& mediaId,
                      int& status) override {
    host_.console.call("onAddStashItem", sku, url, title, mediaId);
    StashItem item;
    item.sku = text(sku);
    item.url = decoded(url);
    item.title = decoded(title);
    item.mediaId = text(mediaId);
    status = !host_.player.user().empty() && host_.player.addStashItem(item) ? kOk : kFailed;
  }

  void onGetItemsForSkuId(const char*& sku, int& status) override {
    host_.console.call("onGetItemsForSkuId", sku);
    StashItem item;
    if (!host_.player.findStashItem(text(sku), item)) {
      status = kFailed;
      return;
    }
    const std::string items = host_.player.withLibrary([&](const LibraryView& lib) {
      std::vector<std::string> out;
      for (const std::string& id : item.trackIds) {
        const CatalogTrack* t = lib.track(id);
        if (t == nullptr) continue;
        const CatalogArtist* artist = lib.catalog.artist(t->artistId);
        out.push_back(JsonObject()
                          .add("id", t->id)
                          .add("title", t->title)
                          .add("artist", artist ? artist->name : std::string())
                          .add("duration", t->duration)
                          .add("fileType", t->fileType)
                          .str());
      }
      return jsonArray(out);
    });
    const std::string json = JsonObject().add("sku", item.sku).raw("items", items).str();
    status = answer(&Library::setGetItemsForSkuIdResponse, json);
  }

  void onRemoveStashItem(const char*& sku, int& status) override {
    host_.console.call("onRemoveStashItem", sku);
    status = host_.player.removeStashItem(text(sku)) ? kOk : kFailed;
  }

  void onStartDownload(const char*& sku, int& status) override {
    host_.console.call("onStartDownload", sku);
    status = host_.player.startDownload(text(sku)) ? kOk : kFailed;
  }

  void onCancelDownload(const char*& sku, int& status) override {
    host_.console.call("onCancelDownload", sku);
    status = host_.player.cancelDownload(text(sku)) ? kOk : kFailed;
  }

  void onPauseDownload(const char*& sku, int& status) override {
    host_.console.call("onPauseDownload", sku);
    status = host_.player.pauseDownload(text(sku)) ? kOk : kFailed;
  }

  void onResumeDownload(const char*& sku, int& status) override {
    host_.console.call("onResumeDownload", sku);
    status = host_.player.resumeDownload(text(sku)) ? kOk : kFailed;
  }

  void onGetDownloadStatus(const char*& sku, int& status) override {
    host_.console.call("onGetDownloadStatus", sku);
    std::vector<std::string> downloads;
    for (const StashItem& item : host_.player.stash()) {
      if (item.state != DownloadState::Idle) downloads.push_back(stashItemJson(item));
    }
    const std::string json = JsonObject().raw("downloads", jsonArray(downloads)).str();
    status = answer(&Library::setGetDownloadStatusResponse, json);
  }

  // A downloaded stash item joins the library: its tracks go to My Music. The
  // reply names the folder the files went to.
  void onAddToLibrary(const char*& id, int& status) override {
    host_.console.call("onAddToLibrary", id);
    StashItem item;
    const std::string key = text(id);
    const std::string mediaId = host_.player.findStashItem(key, item) ? item.mediaId : key;
    status = ifDone(!host_.player.tracksOf(mediaId).empty(), [&] {
      addToMyMusic(1, mediaId);
      answerDownloadLocation();
    });
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> stashListener(HostContext& host) {
  return std::make_unique<StashListener>(host);
}

}  // namespace refhost

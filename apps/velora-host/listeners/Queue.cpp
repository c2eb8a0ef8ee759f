#include "listeners/Areas.h"

namespace refhost {

namespace {

// Seeking and queue edits from the web remote. Each pushes what it changed,
// as the transport listener does, so that clients following "changes" see it.
class QueueListener final : public IVeloraQueueExtensionListener {
 public:
  explicit QueueListener(HostContext& host) : host_(host) {}

  void onSeek(float& seconds, int& result) override {
    host_.console.call("onSeek", seconds);
    result = ifDone(host_.player.seek(seconds), [&] { host_.publish.playbackState(); });
  }

  void onAppendToQueue(const char*& itemId, int& result) override {
    host_.console.call("onAppendToQueue", itemId);
    result = ifDone(host_.player.appendToQueue(text(itemId)), [&] { host_.publish.queue(); });
  }

  void onRemoveFromQueue(int& index, int& result) override {
    host_.console.call("onRemoveFromQueue", index);
    const std::string before = host_.player.transport().trackId;
    result = ifDone(host_.player.removeFromQueue(index), [&] {
      host_.publish.queue();
      host_.publish.transport(host_.player.transport().trackId != before);
    });
  }

  void onClearQueue(int& result) override {
    host_.console.call("onClearQueue");
    host_.player.clearQueue();
    host_.publish.queue();
    host_.publish.playbackState();
    result = kOk;
  }

  void onPlayNext(const char*& itemId, int& result) override {
    host_.console.call("onPlayNext", itemId);
    result = ifDone(host_.player.addPlayNext(text(itemId)), [&] { host_.publish.queue(); });
  }

 private:
  HostContext& host_;
};

}  // namespace

std::unique_ptr<IVeloraQueueExtensionListener> queueListener(HostContext& host) {
  return std::make_unique<QueueListener>(host);
}

}  // namespace refhost

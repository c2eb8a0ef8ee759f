#include "listeners/Areas.h"

namespace refhost {

namespace {

// Transport, volume and play mode.
class PlaybackListener final : public IVeloraPlaybackServiceListener {
 public:
  explicit PlaybackListener(HostContext& host) : host_(host) {}

  void onSetVolume(int& volume) override {
    host_.console.call("onSetVolume", volume);
    host_.player.setVolume(volume);
    host_.publish.volume();
  }

  void onSetMute(bool& mute) override {
    host_.console.call("onSetMute", mute);
    host_.player.setMuted(mute);
    host_.publish.mute();
    host_.publish.playbackState();  // the meters fall silent
  }

  // Play with an item id plays that list (album, playlist, mood, ...) from the
  // given index, or that track; play without an id plays the queue's entry at
  // the index, or resumes.
  void onPlaybackCommand(PlaybackCommand& command) override {
    host_.console.call("onPlaybackCommand", command.command, command.index, command.itemid);
    if (command.command == 1) {
      host_.player.pause();
      host_.publish.playbackState();
      return;
    }
    const std::string item = text(command.itemid);
    const std::string before = host_.player.transport().trackId;
    bool queued = false;
    bool ok;
    if (item.empty()) {
      const int at = host_.player.queueIndex();
      ok = command.index != at && command.index > 0 ? host_.player.playQueueIndex(command.index)
                                                    : host_.player.play();
    } else {
      CatalogTrack track;
      if (host_.player.findTrack(item, track)) {
        ok = host_.player.playTrack(item);
      } else {
        ok = host_.player.playList(item, command.index);
      }
      queued = ok;
    }
    if (!ok) {
      host_.console.say("nothing to play for \"" + item + "\"");
      return;
    }
    const bool moved = host_.player.transport().trackId != before;
    // Starting from nothing may take the first play-next track off its list.
    if (queued || moved) host_.publish.queue();
    host_.publish.transport(moved || queued);
  }

  void onMoveTrack(const char*& trackId, int& position) override {
    host_.console.call("onMoveTrack", trackId, position);
    if (host_.player.moveInQueue(text(trackId), position)) host_.publish.queue();
  }

  void onRequestVolume() override {
    host_.console.call("onRequestVolume");
    host_.publish.volume();
  }

  void onRequestMute() override {
    host_.console.call("onRequestMute");
    host_.publish.mute();
  }

  void onRequestPlayerState() override {
    host_.console.call("onRequestPlayerState");
    // Everything the now-playing screen shows, for a client that just came.
    host_.publish.queue();
    host_.publish.transport(true);
    host_.publish.mode();
    host_.publish.volume();
    host_.publish.mute();
  }

  void onRequestMode() override {
    host_.console.call("onRequestMode");
    host_.publish.mode();
  }

  void onNext() override {
    host_.console.call("onNext");
    if (host_.player.next()) {
      host_.publish.transport(true);
      host_.publish.queue();
    }
  }

  void onPrevious() override {
    host_.console.call("onPrevious");
    if (host_.player.previous()) {
      host_.publish.transport(true);
      host_.publish.queue();
    }
  }

  void onSetMode(PlaybackMode& mode) override {
    host_.console.call("onSetMode", mode.mode);
    if (mode.mode >= 0 && mode.mode <= static_cast<int>(PlayMode::Shuffle)) {
      host_.player.setMode(static_cast<PlayMode>(mode.mode));
    }
    host_.publish.mode();
  }

 private:
  HostContext& host_;
};

}  // namespace

std::unique_ptr<IVeloraPlaybackServiceListener> playbackListener(HostContext& host) {
  return std::make_unique<PlaybackListener>(host);
}

}  // namespace refhost

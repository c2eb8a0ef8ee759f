#pragma once

#include <velora/VeloraRemoteSDK.h>

#include "player/Player.h"

// Pushes the player's state through the service's state setters, so that
// remote clients waiting on "status" see it. Listeners call it after each
// change they make; the ticker calls it as time passes.
namespace refhost {

class Publisher {
 public:
  Publisher(IVeloraRemoteCoordinator& service, Player& player)
      : service_(service), player_(player) {}

  void playbackState();
  void nowPlaying();  // the current track, with its cover
  void queue();       // the queue and the play-next list
  // A transport change: the state and, when it moved, the track.
  void transport(bool trackMoved);
  void volume();
  void mute();
  void mode();
  void stage(StageKind kind, bool withList = false);
  void ircGain();
  void outputDevices();
  void settingsValues();
  void libraryChanged();
  // Everything a client may show, for a client that starts from nothing.
  void everything();

 private:
  IVeloraRemoteCoordinator& service_;
  Player& player_;
};

}  // namespace refhost

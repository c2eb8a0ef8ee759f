#pragma once

#include <cstdint>
#include <vector>

#include "velora/VeloraExport.h"

/// Where a library item comes from. The host chooses the values; the service
/// stores them and reports them unchanged as "source". Any 32-bit value may be
/// passed with static_cast; only 0, 3 and 4 are produced by the library itself.
enum VeloraLibraryItemSource : int32_t {
  VeloraSourceLocal = 0,  ///< default of Track::getTrack(char const*)
  VeloraSourceStreaming = 1,
  VeloraSourceOther = 2,
  VeloraSourceMood = 3,         ///< every mood
  VeloraSourceUnspecified = 4,  ///< a track made without a source
};

/// Capabilities a host grants to an approved remote client (echoed as "capabilities").
struct Capabilities {
  uint32_t value;
};

/// What the host learns about a remote client.
struct ConnectionData {
  int code;
  char name[40];
  bool authstatus;
  bool disconnected;
  int version;
  char product[40];
  char token[40];
  uint32_t capabilities;
};

struct MQAState {
  int state;
  double osr;
  const char* customrate;  ///< may be null
};

/// Transport state pushed with IVeloraPlaybackService::setPlaybackState.
struct PlaybackState {
  int state;
  const char* trackid;  ///< may be null
  float duration;
  float elapsed;
  float lgain;
  float rgain;
  MQAState mqa;
  const char* error;  ///< may be null
};

struct PlaybackMode {
  int mode;
};

/// Passed to IVeloraPlaybackServiceListener::onPlaybackCommand: command 0 plays, 1 pauses.
struct PlaybackCommand {
  int command;
  int index;
  const char* itemid;
};

struct EQBand {
  double order;
  double fband;
  double bband;
  double qband;
  int filter;
};

struct EQPreset {
  const char* name;
  int id;
  std::vector<EQBand> bands;
};

struct HPPreset {
  const char* name;
  int id;
};

struct ACPreset {
  const char* name;
  int id;
};

struct IRCPreset {
  const char* name;
  int id;
};

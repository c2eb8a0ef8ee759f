#include "service/VeloraRestService.h"

// Playback, sound-processing and settings state pushed by the host; written
// into the state documents together with the change feed.

void VeloraRestService::setVolumeLevel(int) {}
void VeloraRestService::setMuteState(bool) {}
void VeloraRestService::setPlaybackState(PlaybackState&) {}
void VeloraRestService::setPlaybackMode(PlaybackMode&) {}
void VeloraRestService::setEQState(bool) {}
void VeloraRestService::setEQCurrentPreset(EQPreset&) {}
void VeloraRestService::setEQPresetList(std::vector<EQPreset>&) {}
void VeloraRestService::setIRCState(bool) {}
void VeloraRestService::setIRCGain(int) {}
void VeloraRestService::setIRCCurrentPreset(IRCPreset&) {}
void VeloraRestService::setIRCPresetList(std::vector<IRCPreset>&) {}
void VeloraRestService::setACState(bool) {}
void VeloraRestService::setACCurrentPreset(ACPreset&) {}
void VeloraRestService::setACPresetList(std::vector<ACPreset>&) {}
void VeloraRestService::setHPState(bool) {}
void VeloraRestService::setHPCurrentPreset(HPPreset&) {}
void VeloraRestService::setHPPresetList(std::vector<HPPreset>&) {}
void VeloraRestService::setOutputDeviceList(std::vector<const char*>&, const char*) {}
void VeloraRestService::setSettingsValues(bool, bool, bool) {}

#include <gtest/gtest.h>

#include "support/RoutedService.h"

using namespace velora_test;

namespace {

class InlineAreasTest : public RoutedService {
 protected:
  // Fires `target` and returns what the host saw, one line per callback.
  std::vector<std::string> fire(const std::string& target, int expectStatus = 200) {
    host.clear();
    const HttpReply reply = get(target);
    EXPECT_EQ(expectStatus, reply.status) << target;
    return host.calls();
  }
  using Calls = std::vector<std::string>;
};

TEST_F(InlineAreasTest, SoundStagesSwitchAndAskForState) {
  EXPECT_EQ(Calls{"onSetIRCState true"}, fire("/irc?enable=1&gain=5"));
  EXPECT_EQ(Calls{"onSetIRCGain 5"}, fire("/irc?gain=5"));
  EXPECT_EQ(Calls{"onRequestIRCGain"}, fire("/irc/gain"));
  EXPECT_EQ(Calls{"onRequestIRCPresetList"}, fire("/irc/list"));
  EXPECT_EQ(Calls{"onRequestEQPresetList"}, fire("/equalizer/list"));
  EXPECT_EQ(Calls{"onRequestHPState"}, fire("/ooyh/state"));
  EXPECT_EQ(Calls{"onRequestACPreset"}, fire("/ac/getpreset"));
  EXPECT_EQ(Calls{"onSetACState false"}, fire("/ac?enable=yes"));
  EXPECT_EQ(Calls{"onSetEQState true"}, fire("/equalizer/list?enable=true"));
  EXPECT_EQ(Calls{}, fire("/equalizer/gain"));  // gain is the IRC stage's alone
  EXPECT_EQ("\"SUCCESS\"", get("/ooyh/anything").body);
}

TEST_F(InlineAreasTest, SoundStagesRejectWhatTheyCannotRead) {
  EXPECT_EQ(Calls{}, fire("/irc", 500));
  EXPECT_EQ(Calls{}, fire("/irc?gain=loud", 500));
  EXPECT_EQ(Calls{}, fire("/irc?gain=99999999999", 500));
  EXPECT_EQ(Calls{}, fire("/EQUALIZER/list", 400));
}

TEST_F(InlineAreasTest, PlaybackCommands) {
  EXPECT_EQ(Calls{"onSetVolume 40"}, fire("/playback?volume=40&mute=true"));
  EXPECT_EQ(Calls{"onSetMute true"}, fire("/playback?mute=1"));
  EXPECT_EQ(Calls{"onPlaybackCommand {0,3,'t9'}"}, fire("/playback/play?itemid=t9&item=3"));
  EXPECT_EQ(Calls{"onPlaybackCommand {1,0,'t9'}"}, fire("/playback/pause?itemid=t9&item=3"));
  EXPECT_EQ(Calls{"onPlaybackCommand {1,0,''}"}, fire("/playback/pause"));
  EXPECT_EQ(Calls{"onNext"}, fire("/playback/next"));
  EXPECT_EQ(Calls{"onPrevious"}, fire("/playback/previous"));
  EXPECT_EQ(Calls{"onSetMode {2}"}, fire("/playback/mode?mode=2"));
  // A move names its track only when the client's id comes along.
  EXPECT_EQ(Calls{"onMoveTrack '' 4"}, fire("/playback/move?trackid=t1&position=4"));
  EXPECT_EQ(Calls{"onMoveTrack 't1' 4"}, fire("/playback/move?trackid=t1&position=4&token=x"));
  EXPECT_EQ(Calls{}, fire("/playback"));
  EXPECT_EQ("\"\"", get("/playback").body);
}

TEST_F(InlineAreasTest, PlaybackRejectsBadNumbersAndMissingItems) {
  EXPECT_EQ(Calls{}, fire("/playback?volume=loud", 500));
  EXPECT_EQ(Calls{}, fire("/playback/play", 400));
  EXPECT_EQ(Calls{}, fire("/playback/mode", 400));
  EXPECT_EQ(Calls{}, fire("/playback/move?trackid=t1", 500));
}

TEST_F(InlineAreasTest, PlaybackQuestionsAnswerWithTheDocument) {
  EXPECT_EQ("null", get("/playback/getvolume").body);  // nothing pushed yet
  host.onCall("onRequestVolume", [this] { s.setVolumeLevel(33); });
  EXPECT_EQ(R"({"volumelevel":33})", get("/playback/getvolume").body);
  EXPECT_EQ(R"({"volumelevel":33})", get("/playback/getmode").body);
  EXPECT_EQ(1, host.count("onRequestMode"));
  EXPECT_EQ(2, host.count("onRequestVolume"));
}

TEST_F(InlineAreasTest, SettingsOutputAndValues) {
  EXPECT_EQ(Calls{"onSetOutputDevice 'My DAC'"}, fire("/settings/output?name=My%20DAC"));
  EXPECT_EQ(Calls{"onRequestOutputDevices"}, fire("/settings/output"));
  EXPECT_EQ(Calls{"onRequestSettingsValues"}, fire("/settings/values?mqa=1&upsample=0"));
  EXPECT_EQ(Calls{"onSetSettingsValues true false false"},
            fire("/settings/values?mqa=1&upsample=0&dsp=2"));
  EXPECT_EQ("\"\"", get("/settings/values").body);
  EXPECT_EQ(Calls{}, fire("/settings", 500));
}

}  // namespace

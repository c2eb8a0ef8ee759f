#include "listeners/Areas.h"

#include <cstdlib>
#include <map>

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

std::string optionsJson(const std::map<std::string, std::string>& options) {
  JsonObject o;
  for (const auto& [key, value] : options) {
    if (value == "true" || value == "false") {
      o.add(key, value == "true");
    } else if (!value.empty() && value.find_first_not_of("-0123456789") == std::string::npos) {
      o.add(key, std::atoi(value.c_str()));
    } else {
      o.add(key, value);
    }
  }
  return o.str();
}

// Output devices, the player's options, its configuration and its folders.
class OptionsListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onGetDevices(int& status) override {
    host_.console.call("onGetDevices");
    const std::string current = host_.player.currentDevice();
    std::vector<std::string> devices;
    for (const OutputDevice& d : host_.player.devices()) {
      std::vector<std::string> rates, buffers;
      for (int r : d.sampleRates) rates.push_back(std::to_string(r));
      for (int b : d.bufferSizes) buffers.push_back(std::to_string(b));
      devices.push_back(JsonObject()
                            .add("name", d.name)
                            .add("channels", d.channels)
                            .raw("sampleRates", jsonArray(rates))
                            .raw("bufferSizes", jsonArray(buffers))
                            .add("sampleRate", d.sampleRate)
                            .add("bufferSize", d.bufferSize)
                            .add("current", d.name == current)
                            .str());
    }
    const std::string json =
        JsonObject().add("currentDevice", current).raw("devices", jsonArray(devices)).str();
    status = answer(&Library::setGetDevicesResponse, json);
  }

  void onSetDevice(const char*& device, const char*& channels, const char*& sampleRate,
                   const char*& bufferSize, int& status) override {
    host_.console.call("onSetDevice", device, channels, sampleRate, bufferSize);
    status = ifDone(host_.player.selectDevice(decoded(device), text(channels), text(sampleRate),
                                              text(bufferSize)),
                    [&] { host_.publish.outputDevices(); });
  }

  void onGetOptions(int& status) override {
    host_.console.call("onGetOptions");
    status = answer(&Library::setGetOptionsResponse, optionsJson(host_.player.options()));
  }

  void onSetOptions(const char*& checkForUpdates, const char*& maxDownloads,
                    const char*& addToITunes, const char*& createITunesPlaylist,
                    const char*& retryTime, const char*& retryCount, const char*& dsdEnabled,
                    const char*& dsdFilterEnabled, const char*& dsdGain, const char*& tidalQuality,
                    const char*& upSample, const char*& scanLevel, const char*& bypassMode,
                    const char*& artCache, const char*& mqa, int& status) override {
    host_.console.call("onSetOptions", checkForUpdates, maxDownloads, addToITunes,
                       createITunesPlaylist, retryTime, retryCount, dsdEnabled, dsdFilterEnabled,
                       dsdGain, tidalQuality, upSample, scanLevel, bypassMode, artCache, mqa);
    const std::map<std::string, std::string> values = {
        {"checkForUpdates", text(checkForUpdates)},
        {"maxDownloads", text(maxDownloads)},
        {"addToITunes", text(addToITunes)},
        {"createITunesPlaylist", text(createITunesPlaylist)},
        {"retryTime", text(retryTime)},
        {"retryCount", text(retryCount)},
        {"dsdEnabled", text(dsdEnabled)},
        {"dsdFilterEnabled", text(dsdFilterEnabled)},
        {"dsdGain", text(dsdGain)},
        {"tidalQuality", text(tidalQuality)},
        {"upSample", text(upSample)},
        {"scanLevel", text(scanLevel)},
        {"bypassMode", text(bypassMode)},
        {"artCache", text(artCache)},
        {"mqa", text(mqa)},
    };
    // Two of the options are the settings switches as well.
    status = ifDone(host_.player.setOptions(values), [&] { host_.publish.settingsValues(); });
  }

  void onGetAppConfig(int& status) override {
    host_.console.call("onGetAppConfig");
    const std::size_t tracks =
        host_.player.withLibrary([](const LibraryView& lib) { return lib.catalog.trackCount(); });
    const std::string json = JsonObject()
                                 .add("application", "velora-host")
                                 .add("version", getSDKVersionStr())
                                 .add("sdkVersion", getSDKVersionInt())
                                 .add("platform", "linux")
                                 .add("instance", host_.instance)
                                 .add("downloadLocation", host_.player.downloadFolder())
                                 .add("artworkLocation", host_.player.artworkFolder())
                                 .add("libraryTracks", static_cast<int>(tracks))
                                 .add("loggedIn", !host_.player.user().empty())
                                 .raw("options", optionsJson(host_.player.options()))
                                 .str();
    status = answer(&Library::setGetAppConfigResponse, json);
  }

  // There is no folder dialog to show on a console: choosing a folder keeps
  // the current one and says which it is.
  void onSelectLocalDownloadLocation(int& status) override {
    host_.console.call("onSelectLocalDownloadLocation");
    answerDownloadLocation();
    status = kOk;
  }

  void onGetLocalDownloadLocation(int& status) override {
    host_.console.call("onGetLocalDownloadLocation");
    answerDownloadLocation();
    status = kOk;
  }

  void onSelectLocalArtworkLocation(const char*& id, int& status) override {
    host_.console.call("onSelectLocalArtworkLocation", id);
    answerArtworkLocation(text(id));
    status = kOk;
  }

  void onGetLocalArtworkLocation(const char*& id, int& status) override {
    host_.console.call("onGetLocalArtworkLocation", id);
    answerArtworkLocation(text(id));
    status = kOk;
  }

 private:
  void answerArtworkLocation(const std::string& id) {
    const std::string json =
        JsonObject().add("id", id).add("location", host_.player.artworkFolder()).str();
    library().setGetArtworkLocationResponse(json.c_str());
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> optionsListener(HostContext& host) {
  return std::make_unique<OptionsListener>(host);
}

}  // namespace refhost

#include "listeners/Areas.h"

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

// What a remote client asks of the application itself: pairing, saving,
// heartbeats, input mode, windows, navigation, quitting.
class ClientControlListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onPairing(int& status) override {
    host_.console.call("onPairing");
    status = kOk;
  }

  void onSave(int& status) override {
    host_.console.call("onSave");
    status = kOk;
  }

  void onGetHeartbeat(int& status) override {
    host_.console.call("onGetHeartbeat");
    const TransportSnapshot s = host_.player.transport();
    const std::string json = JsonObject()
                                 .add("alive", true)
                                 .add("application", "velora-host")
                                 .add("instance", host_.instance)
                                 .add("state", transportName(s.transport))
                                 .str();
    status = answer(&Library::setGetHeartbeatResponse, json);
  }

  void onInputMode(const char*& enabled, const char*& source, int& status) override {
    host_.console.call("onInputMode", enabled, source);
    host_.player.setInputMode(flag(enabled), text(source));
    status = kOk;
  }

  void onDeviceWindow(int& status) override {
    host_.console.call("onDeviceWindow");
    host_.console.say("(a desktop player would open its output device window here)");
    status = kOk;
  }

  void onNavigation(const char*& which, int& status) override {
    host_.console.call("onNavigation", which);
    status = text(which).empty() ? kFailed : kOk;
  }

  // A remote client may ask the player to quit; the reference host stays up
  // and leaves stopping to its own console.
  void onQuit(int& status) override {
    host_.console.call("onQuit");
    host_.console.say("a remote client asked to quit; press Ctrl-C here to stop the host");
    status = kOk;
  }

  void onPing(int& status) override {
    host_.console.call("onPing");
    status = kOk;
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> clientControlListener(HostContext& host) {
  return std::make_unique<ClientControlListener>(host);
}

}  // namespace refhost

#include "listeners/Areas.h"

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

// The streaming-service account of the demo player.
class AccountListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onLogin(const char*& username, const char*& password, const char*& which,
               int& status) override {
    // Passwords are not echoed to the console.
    host_.console.call("onLogin", username, "(password hidden)", which);
    const std::string token = host_.player.login(text(username), text(password));
    status = ifDone(!token.empty(), [&] { library().setLoginResponse(token.c_str()); });
  }

  void onGetLogin(const char*& which, int& status) override {
    host_.console.call("onGetLogin", which);
    const std::string user = host_.player.user();
    const std::string token = host_.player.userToken();
    library().setGetLoginResponse(user.c_str(), "", token.c_str(), user.c_str(), "",
                                  text(which).empty() ? "tidal" : which);
    status = kOk;
  }

  void onLogout(const char*& which, int& status) override {
    host_.console.call("onLogout", which);
    host_.player.logout();
    library().setLoginResponse("");
    status = kOk;
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> accountListener(HostContext& host) {
  return std::make_unique<AccountListener>(host);
}

}  // namespace refhost

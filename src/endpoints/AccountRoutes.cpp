#include "endpoints/EndpointRoutes.h"

// The streaming account: the host signs in and out and stores the session in
// the login answer. A 7 from the host means the streaming server is out of
// reach.

namespace {
using L = IVeloraLibraryServiceListener;
constexpr SuccessReply kSession = SuccessReply::fromSlot(&ResponseSlots::login, true);
}  // namespace

const RouteList& accountRoutes() {
  using namespace arg;
  static const RouteList routes = {
      // A failed login answers with the quit endpoint's text; clients know it so.
      {"GET", "login", "handleLogin",
       ask(&L::onLogin, {"Quit FAILED", 401, kSession, true},
           {decoded("username").needed(), decoded("password").needed(), text("which").needed()})},
      {"GET", "getLogin", "handleGetLogin",
       ask(&L::onGetLogin,
           {"GetLogin FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::login, false), true},
           {text("which")})},
      {"GET", "logout", "handleLogout",
       ask(&L::onLogout, {"Logout FAILED"}, {text("which").needed()})},
  };
  return routes;
}

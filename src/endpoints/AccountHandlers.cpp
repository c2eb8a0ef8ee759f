#include "service/VeloraRestService.h"

using L = IVeloraLibraryServiceListener;

// The streaming account: the host signs in and out and stores the session in
// the login answer. A 7 from the host means the streaming server is out of
// reach.

void VeloraRestService::handleLogin(RouteRequest& r) {
  // A failed login answers with the quit endpoint's text; clients know it so.
  if (!require(r, {"username", "password", "which"}, "Quit FAILED")) return;
  Outcome outcome{"Quit FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::login, true), true};
  exchange(r, outcome, &L::onLogin, CText(r.decoded("username")), CText(r.decoded("password")),
           CText(r.text("which")));
}

void VeloraRestService::handleGetLogin(RouteRequest& r) {
  Outcome outcome{"GetLogin FAILED", 401, SuccessReply::fromSlot(&ResponseSlots::login, false),
                  true};
  exchange(r, outcome, &L::onGetLogin, CText(r.text("which")));
}

void VeloraRestService::handleLogout(RouteRequest& r) {
  if (!require(r, {"which"}, "Logout FAILED")) return;
  exchange(r, {"Logout FAILED"}, &L::onLogout, CText(r.text("which")));
}

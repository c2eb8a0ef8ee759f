#pragma once

// Strict mode, for hosts on networks they do not trust. By default the
// service behaves as the phone applications already in use expect: a token
// is handed out before the host approves a client, reads need no token, and
// any web page may call the service. In strict mode:
//  - every route except "authenticate" and the web pages needs the token of
//    a client the host approved and has not disconnected (401 otherwise);
//  - "authenticate" gives a client's token only to the client that holds it,
//    and pairing again after a disconnect asks the host again;
//  - a client may disconnect only itself;
//  - only the origins the host names here may call the service from a
//    browser page on another origin;
//  - only a bounded number of clients may wait for approval at once.
//
//   setVeloraStrictMode(true, "https://remote.example.org");
//
// Installing it changes none of the listener interfaces of VeloraListeners.h.

#include "velora/VeloraExport.h"

/// Turns strict mode on or off for the process service. `allowedOrigins` is a
/// comma-separated list of web origins ("https://remote.example.org:8443")
/// whose pages may read replies from the service; nullptr or "" names none.
/// It may be called at any time: requests that come after it see the change.
VELORA_API void setVeloraStrictMode(bool enabled, const char* allowedOrigins = nullptr);

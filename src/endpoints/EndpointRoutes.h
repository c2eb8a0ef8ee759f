#pragma once

#include "http/Route.h"

// The player application's endpoints: account, options and devices, stash
// and downloads, scanning and the local library, playlists, history, search.
const RouteList& accountRoutes();
const RouteList& optionsRoutes();
const RouteList& stashRoutes();
const RouteList& scanRoutes();
const RouteList& playlistRoutes();

#pragma once

#include "http/Route.h"

// The "library" area and the browsing routes of the player application.
const RouteList& libraryRoutes();

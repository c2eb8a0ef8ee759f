#pragma once

#include "http/Route.h"

// The "playback" area and the player application's transport; the four
// sound-processing stages and their presets; the queue extension.
const RouteList& transportRoutes();
const RouteList& presetRoutes();
const RouteList& queueRoutes();

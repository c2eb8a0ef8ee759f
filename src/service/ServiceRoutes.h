#pragma once

#include "http/Route.h"

// The service's own routes: pairing and client control, and the two long
// polls through which clients learn of changes.
const RouteList& serviceRoutes();
Answer routeStatus(Call& c);
Answer routeChanges(Call& c);

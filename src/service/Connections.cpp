#include "service/VeloraRestService.h"

// Pairing of remote clients.

void VeloraRestService::disconnect(int) {}
void VeloraRestService::authenticate(int, const char*, Capabilities&) {}

#pragma once

// Precompiled once per configuration: the HTTP/JSON library's headers dominate
// the compile time of every file that includes them.

#include <cpprest/asyncrt_utils.h>
#include <cpprest/filestream.h>
#include <cpprest/http_listener.h>
#include <cpprest/json.h>
#include <cpprest/uri.h>

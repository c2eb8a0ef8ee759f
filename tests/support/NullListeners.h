#pragma once

#include "velora/VeloraRemoteSDK.h"

// The SDK's null listeners, under the names the tests use: a test overrides
// only the callbacks it cares about. Status arguments are left untouched: the
// service presets them, and a test that wants a failure says so.

namespace velora_test {

using ::NullVeloraACServiceListener;
using ::NullVeloraEqualizerServiceListener;
using ::NullVeloraHPServiceListener;
using ::NullVeloraIRCServiceListener;
using ::NullVeloraLibraryServiceListener;
using ::NullVeloraPlaybackServiceListener;
using ::NullVeloraRemoteServiceListener;
using ::NullVeloraSettingsServiceListener;

}  // namespace velora_test

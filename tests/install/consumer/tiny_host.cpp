// A host built against the installed package only. Compiling it checks that
// the public headers and the SDK's null listeners build outside the source
// tree; running it checks the listener slot order and the entry points a host
// uses before it starts listening. It prints the library's version.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include <velora/VeloraRemoteSDK.h>

namespace {

int failures = 0;

void check(bool ok, const char* what, const char* where) {
  if (!ok) {
    ++failures;
    std::fprintf(stderr, "%s: check failed: %s\n", where, what);
  }
}
#define CHECK(condition) check(condition, #condition, __PRETTY_FUNCTION__)

// Records cross the library boundary by value.
static_assert(std::is_same_v<std::underlying_type_t<VeloraLibraryItemSource>, int32_t>);
template <typename T>
constexpr bool plain = std::is_standard_layout_v<T>&& std::is_trivially_copyable_v<T>;
static_assert(plain<Capabilities> && plain<ConnectionData> && plain<PlaybackState> &&
              plain<PlaybackMode> && plain<PlaybackCommand> && plain<EQBand>);

// The library calls a host's listeners by slot, so the installed callback
// lists must be in the interfaces' slot order. Under the Itanium C++ ABI a
// pointer to a virtual member holds 1 + the slot's byte offset in the vtable.
template <typename Member>
std::ptrdiff_t slot(Member member) {
  struct {
    std::uintptr_t pointer;
    std::ptrdiff_t adjustment;
  } bits;
  static_assert(sizeof member == sizeof bits);
  std::memcpy(&bits, &member, sizeof bits);
  return bits.pointer & 1 ? static_cast<std::ptrdiff_t>((bits.pointer - 1) / sizeof(void*)) : -1;
}

template <typename... Members>
bool inSlotOrder(std::ptrdiff_t first, Members... members) {
  return ((slot(members) == first++) && ...);
}

// 4: added, 2: already there.
template <typename Listener, typename Area>
void checkRegistration(Area* area) {
  Listener listener;
  CHECK(area != nullptr && area->registerForNotification(&listener) == 4);
  CHECK(area != nullptr && area->registerForNotification(&listener) == 2);
  CHECK(area != nullptr && area->unregisterFromNotification(&listener) == 4);
}

}  // namespace

int main() {
#define SLOT(callback, ...) , &Listener::callback
#define CHECK_SLOT_ORDER(Area, CALLBACKS)            \
  {                                                  \
    using Listener = IVelora##Area##ServiceListener; \
    CHECK(inSlotOrder(0 CALLBACKS(SLOT)));           \
  }
  VELORA_LISTENER_INTERFACES(CHECK_SLOT_ORDER)

  // A host may tune these before it starts.
  mServicePort = 35699;
  ZIP_THRESHOLD = 1024;
  IVeloraRemoteCoordinator* service = VeloraRemoteSDK::getVeloraService();
  CHECK(service != nullptr && VeloraRemoteSDK::getVeloraService() == service);
  if (service == nullptr) return 1;
  checkRegistration<NullVeloraRemoteServiceListener>(service);
  checkRegistration<NullVeloraLibraryServiceListener>(service->getLibraryService());
  checkRegistration<NullVeloraPlaybackServiceListener>(service->getPlaybackService());
  checkRegistration<NullVeloraEqualizerServiceListener>(service->getEqualizerService());
  checkRegistration<NullVeloraIRCServiceListener>(service->getIRCService());
  checkRegistration<NullVeloraACServiceListener>(service->getACService());
  checkRegistration<NullVeloraHPServiceListener>(service->getHPService());
  checkRegistration<NullVeloraSettingsServiceListener>(service->getSettingsService());

  // A host that quits before listening closes the service anyway, maybe twice.
  service->shutdown();
  service->shutdown();
  CHECK(getSDKVersionInt() > 0);
  std::printf("%s\n", getSDKVersionStr().c_str());
  return failures == 0 ? 0 : 1;
}

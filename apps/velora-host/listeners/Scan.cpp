#include "listeners/Areas.h"

#include "listeners/Items.h"
#include "listeners/Json.h"

namespace refhost {

namespace {

// Scans of local files and the caches they fill.
class ScanListener final : public LibraryPart {
 public:
  using LibraryPart::LibraryPart;

  void onScanFiles(const char*& which, int& status) override {
    host_.console.call("onScanFiles", which);
    status = host_.player.startScan(text(which)) ? kOk : kFailed;
  }

  void onScanCancel(const char*& which, int& status) override {
    host_.console.call("onScanCancel", which);
    status = host_.player.cancelScan() ? kOk : kFailed;
  }

  void onScanGetProgress(const char*& which, int& status) override {
    host_.console.call("onScanGetProgress", which);
    const ScanStatus scan = host_.player.scan();
    library().setScanProgressResponse(static_cast<float>(scan.percent), scan.message.c_str());
    status = kOk;
  }

  void onClearLocalCache(const char*& which, int& status) override {
    host_.console.call("onClearLocalCache", which);
    // The only cache this host keeps for a client is the play history.
    host_.player.clearHistory();
    status = kOk;
  }
};

}  // namespace

std::unique_ptr<IVeloraLibraryServiceListener> scanListener(HostContext& host) {
  return std::make_unique<ScanListener>(host);
}

}  // namespace refhost

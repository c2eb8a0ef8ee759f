#pragma once

// Queue editing and seeking, for remote clients that offer them. A host that
// supports them implements this listener and registers it:
//
//   struct Queue : IVeloraQueueExtensionListener { ... };
//   Queue queue;
//   setVeloraQueueExtension(&queue);    // before or after startListening()
//   ...
//   setVeloraQueueExtension(nullptr);   // before `queue` goes away
//
// It is kept apart from the listener interfaces of VeloraListeners.h so that
// their slots, which hosts built earlier rely on, stay as they are. Without a
// registered listener every "queue" route answers 501 "Not Implemented",
// which tells a client to hide these controls.
//
// The callbacks follow the listeners' rules: they run on the request's
// thread, several at once; arguments are valid only during the call; `result`
// is 0 on entry, and anything else reports failure to the client.

#include "velora/VeloraExport.h"

class VELORA_API IVeloraQueueExtensionListener {
 public:
  virtual ~IVeloraQueueExtensionListener() = default;
  /// Moves the current track to `seconds` from its start.
  virtual void onSeek(float& seconds, int& result) = 0;
  /// Adds the track `itemId` (percent-decoded) at the end of the play queue.
  virtual void onAppendToQueue(const char*& itemId, int& result) = 0;
  /// Drops entry `index` (from 0) of the play queue.
  virtual void onRemoveFromQueue(int& index, int& result) = 0;
  /// Empties the play queue.
  virtual void onClearQueue(int& result) = 0;
  /// Plays the track `itemId` (percent-decoded) right after the current one.
  virtual void onPlayNext(const char*& itemId, int& result) = 0;
};

/// Makes `listener` the process service's queue extension, replacing any
/// earlier one; nullptr removes it. It may be called at any time, also from
/// inside a callback: requests that come after it see the new listener. A
/// call already under way is not waited for, so destroy a removed listener
/// only once the service is shut down (as with the other listeners).
/// Returns 4 when the extension changed, 2 when `listener` already was it, 1
/// when there was none to remove.
VELORA_API int setVeloraQueueExtension(IVeloraQueueExtensionListener* listener);

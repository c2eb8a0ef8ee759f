#include "velora/VeloraLibraryItems.h"

// The interfaces' destructors live here so that their type information is
// emitted once, by the library, for hosts that derive their own items.
Track::~Track() = default;
Album::~Album() = default;
Artist::~Artist() = default;
Genre::~Genre() = default;
Playlist::~Playlist() = default;
Mood::~Mood() = default;

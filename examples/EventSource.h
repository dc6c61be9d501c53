// What happens below a directory, which each system tells in its own way.
#pragma once
#include <KivFile/DeviceEvent.h>
#include <functional>
#include <string>
#include <vector>

// Only what is a file has changes (0); what appeared may be both (1); what is gone can no longer be looked at (2).
enum EventKind : std::uint32_t { CHANGED = 0, APPEARED = 1, GONE = 2 };
using Events = std::vector<KivFile::DeviceEvent>;

// Calls take with batches of events until it returns false. The first, when the watch has begun, tells that the
// directory appeared; an empty one, that events were lost. Links are not entered. Throws std::system_error.
void Watch(const std::string& directory, const std::function<bool(const Events&)>& take);

// The log callback of long operations.
#pragma once

#include <KivBase/Export.h>

namespace Kiv
{

// Implemented by a client that wants to know how far a long operation has come.
class KIV_TYPE LogEntryCallInterface
{
public:
    virtual ~LogEntryCallInterface() = default;

    // Called on the thread that does the work; ratio is the share that is done, 0 to 1.
    virtual void Progress(double ratio) = 0;
};

} // namespace Kiv

// The one place that turns failed operations on paths into exceptions.
#pragma once

#include <string>

#include <KivBase/WString.h>

namespace KivFile
{

class PathTThrow
{
public:
    enum ErrorType : unsigned int {
        CannotRetrieveServer = 0,
        DriveDoesNotExist = 1, // first is the path, second the drive
        CannotCreate = 2,
        CannotDelete = 3,
        CannotCopy = 4, // from first to second
        CannotMove = 5, // from first to second
        CannotSetAttributes = 6,
        CannotListAllFiles = 7,
    };

    // Throw the exception of the kind. Called straight after the call that failed, as all kinds but a missing drive
    // carry the thread's last error. second is empty where the kind names one path only.
    [[noreturn]] static void ThrowError(ErrorType kind, const std::string& first, const std::string& second);
    [[noreturn]] static void ThrowError(ErrorType kind, const Kiv::WString& first, const Kiv::WString& second);
};

} // namespace KivFile

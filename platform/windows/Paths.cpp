#include <platform/Platform.h>

namespace KivSys
{

std::string PathFromUser(const std::string& path)
{
    return path;
}

std::string PathForUser(const std::string& path)
{
    return path;
}

} // namespace KivSys

#include <KivFile/DirectoryObserverCallInterface.h>

namespace KivFile
{

DirectoryObserverCallInterface::DirectoryObserverCallInterface() = default;

DirectoryObserverCallInterface::DirectoryObserverCallInterface(const DirectoryObserverCallInterface&) = default;

DirectoryObserverCallInterface&
DirectoryObserverCallInterface::operator=(const DirectoryObserverCallInterface&) = default;

DirectoryObserverCallInterface::~DirectoryObserverCallInterface() = default;

} // namespace KivFile

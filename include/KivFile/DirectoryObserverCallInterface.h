// What is told about directories.
#pragma once

#include <KivBase/SmartPtr.h>
#include <KivBase/WString.h>
#include <KivFile/Export.h>

namespace KivFile
{

// Base of clients that are told which directories come and go. Who calls them, and on which thread, is a matter between
// the caller and the client. Held by Kiv::SmartPtr; a copy has a count of its own.
class KIVFILE_EXPORT DirectoryObserverCallInterface : public Kiv::SPRefCounter
{
public:
    DirectoryObserverCallInterface();
    DirectoryObserverCallInterface(const DirectoryObserverCallInterface&);
    DirectoryObserverCallInterface& operator=(const DirectoryObserverCallInterface&);
    ~DirectoryObserverCallInterface() override;

    virtual void OnDirectoryAdded(const Kiv::WString& path) = 0;
    virtual void OnDirectoryRemoved(const Kiv::WString& path) = 0;
};

} // namespace KivFile

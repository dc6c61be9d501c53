#include "PathThrow.h"

#include <iterator>

#include <KivFile/FileException.h>

#include "MessageRecord.h"
#include <platform/Platform.h>

namespace KivFile
{

namespace
{

enum class Parameters { First, FirstThenSecond, SecondThenFirst };

struct ErrorRow {
    MessageId message;
    Parameters parameters;
    bool storesError;
    void (*raise)(const Record&);
};

// In the order of ErrorType.
constexpr ErrorRow ERRORS[] = {
    {MessageId::RetrievingServer, Parameters::First, true, Raise<CannotRetrieveServerException>},
    {MessageId::NoSuchDrive, Parameters::SecondThenFirst, false, Raise<DriveDoesNotExistException>},
    {MessageId::Creating, Parameters::First, true, Raise<FileCannotCreateException>},
    {MessageId::Deleting, Parameters::First, true, Raise<FileCannotDeleteException>},
    {MessageId::Copying, Parameters::FirstThenSecond, true, Raise<FileCannotCopyException>},
    {MessageId::Moving, Parameters::FirstThenSecond, true, Raise<FileCannotMoveException>},
    {MessageId::SettingAttributes, Parameters::First, true, Raise<FileCannotSetAttributes>},
    {MessageId::Listing, Parameters::First, true, Raise<CannotListAllFilesException>},
};
static_assert(std::size(ERRORS) == PathTThrow::CannotListAllFiles + 1);

template <class String>
Record MakeRecord(const ErrorRow& row, const String& first, const String& second)
{
    const ThrowSite site("src/KivPath");
    switch (row.parameters) {
    case Parameters::FirstThenSecond:
        return MessageRecord(row.message, site, first, second);
    case Parameters::SecondThenFirst:
        return MessageRecord(row.message, site, second, first);
    default:
        return MessageRecord(row.message, site, first);
    }
}

template <class String>
[[noreturn]] void Throw(PathTThrow::ErrorType kind, const String& first, const String& second)
{
    const KivSys::DWORD error = KivSys::GetLastError();
    const ErrorRow& row = ERRORS[kind];
    const Record record = MakeRecord(row, first, second);
    if (row.storesError)
        record->SetLastError(error);
    row.raise(record);
    __builtin_unreachable();
}

} // namespace

void PathTThrow::ThrowError(ErrorType kind, const std::string& first, const std::string& second)
{
    Throw(kind, first, second);
}

void PathTThrow::ThrowError(ErrorType kind, const Kiv::WString& first, const Kiv::WString& second)
{
    Throw(kind, first, second);
}

} // namespace KivFile

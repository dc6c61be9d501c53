// Makes the records that exceptions with a catalog message are built from.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>

#include <KivBase/Exception.h>
#include <messages/KivFileMsg-I.h>
#include <platform/Platform.h>

namespace KivFile
{

using Record = Kiv::SmartPtr<Kiv::MessageInfo>;

// Throws an exception made from a record: what the rows of a table of failures name.
template <class Exception>
[[noreturn]] void Raise(const Record& record)
{
    throw Exception(record);
}

// Where a message arises: the name of the source file, and the line that the compiler fills in.
struct ThrowSite {
    ThrowSite(const char* file, unsigned int line = __builtin_LINE()) : sourceFile(file), sourceLine(line) {}

    const char* sourceFile;
    std::uint32_t sourceLine;
};

// The record of a message; the parameters, narrow or wide texts, are %1, %2 and so on. Where a system call failed, the
// caller stores the error code, read before anything else, with SetLastError:
//     const auto record = MessageRecord(MessageId::Writing, "src/KivCFile", path);
//     record->SetLastError(error);
//     throw WriteErrorException(record);
template <class... Parameters>
[[nodiscard]] Record MessageRecord(MessageId id, ThrowSite site, const Parameters&... parameters)
{
    auto record = Kiv::MakeShared<Kiv::MessageInfo>(MESSAGE_MODULE, static_cast<std::uint32_t>(id), site.sourceFile,
                                                    site.sourceLine);
    (record->AddParameter(parameters), ...);
    return record;
}

// Which message and exception follow from a failed action.
template <class Action>
struct FailureRow {
    Action action;
    MessageId message;
    void (*raise)(const Record&);
};

// Throws what the row of an action says, with a file's name and the thread's last error. Returns where no row has it.
template <class Action, std::size_t n>
void ThrowFailure(const FailureRow<Action> (&rows)[n], Action action, ThrowSite site, const std::string& fileName)
{
    const KivSys::DWORD error = KivSys::GetLastError();
    const auto* const row = std::ranges::find(rows, action, &FailureRow<Action>::action);
    if (row == std::end(rows))
        return;
    const Record record = MessageRecord(row->message, site, fileName);
    record->SetLastError(error);
    row->raise(record);
}

} // namespace KivFile

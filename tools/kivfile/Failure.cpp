#include "Failure.h"

#include <KivBase/BinaryStreamException.h>
#include <KivFile/FileException.h>
#include <KivFile/OLE/OLEException.h>

#include "Text.h"

namespace KivTool
{
namespace
{

template <class Class>
bool IsA(const Kiv::BaseException& exception)
{
    return dynamic_cast<const Class*>(&exception) != nullptr;
}

struct ClassRow {
    bool (*matches)(const Kiv::BaseException&);
    const char* name;
    const char* words; // for an exception whose own text is empty
};

// Derived classes before their bases.
constexpr ClassRow CLASSES[] = {
    {IsA<KivFile::OLE::NotAStorageOLEException>, "NotAStorageOLEException", "not a compound document"},
    {IsA<KivFile::OLE::CorruptedStorageOLEException>, "CorruptedStorageOLEException",
     "a compound document with a damaged header"},
    {IsA<KivFile::OLE::StorageNotFoundOLEException>, "StorageNotFoundOLEException", "no such storage"},
    {IsA<KivFile::OLE::StreamNotFoundOLEException>, "StreamNotFoundOLEException", "no such stream"},
    {IsA<KivFile::OLE::OLEException>, "OLEException", "a damaged compound document"},
    {IsA<KivFile::SharingViolationException>, "SharingViolationException", "in use by another program"},
    {IsA<KivFile::FileAccessDeniedException>, "FileAccessDeniedException", "access denied"},
    {IsA<KivFile::FileCannotOpenException>, "FileCannotOpenException", "cannot be opened"},
    {IsA<KivFile::WriteErrorException>, "WriteErrorException", "cannot be written"},
    {IsA<KivFile::FileCannotDeleteException>, "FileCannotDeleteException", "cannot be deleted"},
    {IsA<KivFile::FileCannotCreateException>, "FileCannotCreateException", "cannot be created"},
    {IsA<KivFile::FileCannotSetAttributes>, "FileCannotSetAttributes", "its attributes cannot be changed"},
    {IsA<KivFile::CannotListAllFilesException>, "CannotListAllFilesException", "cannot be listed completely"},
    {IsA<KivFile::CannotRetrieveServerException>, "CannotRetrieveServerException", "its server is not known"},
    {IsA<KivFile::DriveDoesNotExistException>, "DriveDoesNotExistException", "no such drive"},
    {IsA<KivFile::SeekOutOfRangeException>, "SeekOutOfRangeException", "a position outside the file"},
    {IsA<KivFile::FileException>, "FileException", "a failed file operation"},
    {IsA<Kiv::BinaryStreamGetEOFException>, "BinaryStreamGetEOFException", "the data ends too early"},
    {IsA<Kiv::BinaryStreamPutEOFException>, "BinaryStreamPutEOFException", "the data could not be written completely"},
    {[](const Kiv::BaseException&) { return true; }, "Exception", "failed"},
};

} // namespace

Failure Describe(const Kiv::BaseException& exception)
{
    const ClassRow* row = CLASSES;
    while (!row->matches(exception))
        ++row;
    return {row->name, exception.What().empty() ? row->words : Printable(exception.What())};
}

} // namespace KivTool

#include <KivFile/FileException.h>

namespace KivFile
{

FileException::~FileException() = default;

const Kiv::WString& FileException::What() const
{
    return Exception::What();
}

Kiv::BaseException* FileException::Copy() const
{
    return new FileException(What());
}

void FileException::Throw() const
{
    throw FileException(What());
}

} // namespace KivFile

#include <KivFile/OLE/OLEException.h>

namespace KivFile::OLE
{

OLEException::~OLEException() = default;

const Kiv::WString& OLEException::What() const
{
    return Exception::What();
}

Kiv::BaseException* OLEException::Copy() const
{
    return new OLEException(What());
}

void OLEException::Throw() const
{
    throw OLEException(What());
}

} // namespace KivFile::OLE

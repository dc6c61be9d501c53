// Short reads and writes.
#pragma once

#include <KivBase/Exception.h>
#include <KivBase/Export.h>

namespace Kiv
{

class KIV_TYPE BinaryStreamException : public ExceptionT<BinaryStreamException, Exception>
{
public:
    using ExceptionT::ExceptionT;
};

// A strict read met the end: fewer bytes than asked were delivered. The text is empty.
class KIV_TYPE BinaryStreamGetEOFException : public ExceptionT<BinaryStreamGetEOFException, BinaryStreamException>
{
public:
    using ExceptionT::ExceptionT;
};

// A strict write met the end: fewer bytes than given were taken. The text is empty.
class KIV_TYPE BinaryStreamPutEOFException : public ExceptionT<BinaryStreamPutEOFException, BinaryStreamException>
{
public:
    using ExceptionT::ExceptionT;
};

} // namespace Kiv

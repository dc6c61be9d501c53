// The exceptions of compound documents. None has a text of its own; the class tells what happened.
#pragma once

#include <KivBase/Exception.h>
#include <KivFile/Export.h>

namespace KivFile::OLE
{

// Root of all failures of compound documents.
class KIVFILE_EXPORT OLEException : public Kiv::Exception
{
public:
    OLEException() = default;
    explicit OLEException(const Kiv::WString& text) : Exception(text) {}
    // text is terminated by a zero unit.
    explicit OLEException(const unsigned short* text) : Exception(text) {}
    explicit OLEException(const Kiv::SmartPtr<Kiv::MessageInfo>& message) : Exception(message) {}
    OLEException(const OLEException&) = default;
    OLEException& operator=(const OLEException&) = default;
    ~OLEException() override;

    [[nodiscard]] const Kiv::WString& What() const override;
    [[nodiscard]] Kiv::BaseException* Copy() const override;
    [[noreturn]] void Throw() const override;
};

// Not a compound document: shorter than a header, or without the signature.
class KIVFILE_TYPE NotAStorageOLEException : public Kiv::ExceptionT<NotAStorageOLEException, OLEException>
{
public:
    using ExceptionT::ExceptionT;
};

// A compound document whose header cannot be right.
class KIVFILE_TYPE CorruptedStorageOLEException : public Kiv::ExceptionT<CorruptedStorageOLEException, OLEException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE StorageNotFoundOLEException : public Kiv::ExceptionT<StorageNotFoundOLEException, OLEException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE StreamNotFoundOLEException : public Kiv::ExceptionT<StreamNotFoundOLEException, OLEException>
{
public:
    using ExceptionT::ExceptionT;
};

// Not a property set.
class KIVFILE_TYPE NotAPropertyStorageOLEException
    : public Kiv::ExceptionT<NotAPropertyStorageOLEException, OLEException>
{
public:
    using ExceptionT::ExceptionT;
};

// A property set that ends inside its header.
class KIVFILE_TYPE CorruptedPropertyStorageOLEException
    : public Kiv::ExceptionT<CorruptedPropertyStorageOLEException, OLEException>
{
public:
    using ExceptionT::ExceptionT;
};

} // namespace KivFile::OLE

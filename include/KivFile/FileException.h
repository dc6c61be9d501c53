// The exceptions of files and paths.
#pragma once

#include <KivBase/Exception.h>
#include <KivFile/Export.h>

namespace KivFile
{

// Root of all failures of files and paths.
class KIVFILE_EXPORT FileException : public Kiv::Exception
{
public:
    FileException() = default;
    explicit FileException(const Kiv::WString& text) : Exception(text) {}
    // text is terminated by a zero unit.
    explicit FileException(const unsigned short* text) : Exception(text) {}
    explicit FileException(const Kiv::SmartPtr<Kiv::MessageInfo>& message) : Exception(message) {}
    FileException(const FileException&) = default;
    FileException& operator=(const FileException&) = default;
    ~FileException() override;

    [[nodiscard]] const Kiv::WString& What() const override;
    [[nodiscard]] Kiv::BaseException* Copy() const override;
    [[noreturn]] void Throw() const override;
};

// The file is held by somebody who does not share it.
class KIVFILE_TYPE SharingViolationException : public Kiv::ExceptionT<SharingViolationException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

// The system refuses access to the file.
class KIVFILE_TYPE FileAccessDeniedException : public Kiv::ExceptionT<FileAccessDeniedException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

// The file cannot be opened for any other reason.
class KIVFILE_TYPE FileCannotOpenException : public Kiv::ExceptionT<FileCannotOpenException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE FileCannotDeleteException : public Kiv::ExceptionT<FileCannotDeleteException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE FilePermissionDeniedException
    : public Kiv::ExceptionT<FilePermissionDeniedException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE WriteErrorException : public Kiv::ExceptionT<WriteErrorException, FilePermissionDeniedException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE FileCannotCreateException : public Kiv::ExceptionT<FileCannotCreateException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE FileCannotCopyException : public Kiv::ExceptionT<FileCannotCopyException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE FileCannotMoveException : public Kiv::ExceptionT<FileCannotMoveException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE FileCannotSetAttributes : public Kiv::ExceptionT<FileCannotSetAttributes, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE DriveDoesNotExistException : public Kiv::ExceptionT<DriveDoesNotExistException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE CannotRetrieveServerException
    : public Kiv::ExceptionT<CannotRetrieveServerException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

class KIVFILE_TYPE CannotListAllFilesException : public Kiv::ExceptionT<CannotListAllFilesException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

// A text that cannot name anything. Its own text is empty.
class KIVFILE_TYPE InvalidPathException : public Kiv::ExceptionT<InvalidPathException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

// A seek to a position that the buffer or file does not have. Its text is empty.
class KIVFILE_TYPE SeekOutOfRangeException : public Kiv::ExceptionT<SeekOutOfRangeException, FileException>
{
public:
    using ExceptionT::ExceptionT;
};

} // namespace KivFile

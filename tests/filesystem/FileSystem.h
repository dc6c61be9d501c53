// What the tests of paths in the file system share.
#pragma once

#include <functional>

#include <KivBase/NoCase.h>
#include <KivFile/DirectoryWalker.h>
#include <KivFile/FileException.h>
#include <paths/Widths.h>
#include <platform/Folder.h>

// A folder of its own for each test, over both widths.
template <class T>
class FileSystem : public Widths<T>
{
protected:
    using typename Widths<T>::Path;
    static constexpr auto READ_ONLY = Path::ATTRIBUTE_READ_ONLY;
    static constexpr auto HIDDEN = Path::ATTRIBUTE_HIDDEN;

    // The canonical text of a name in the folder, and its path.
    std::string In(const std::string& name) const { return KivFile::PathT<char>(m_folder / name).FullPath(); }
    Path At(const std::string& name) const { return this->Of(m_folder / name); }

    Path Directory(const std::string& name) const
    {
        Path path = At(name);
        path.CreateDir();
        return path;
    }

    Path File(const std::string& name, const std::string& content = "content") const
    {
        WriteText(m_folder / name, content);
        return At(name);
    }

    std::vector<Path> Entries(const std::string& name, const std::string& filter = "*.*") const
    {
        std::vector<Path> entries;
        At(name).GetFileList(entries, this->Text(filter));
        return entries;
    }

    Folder m_folder;
};

// Keeps the names of the files that a walk hands to it and answers as it is told.
class Recorder : public KivFile::DirectoryWalker::Handler
{
public:
    using Path = KivFile::PathT<char>;
    using Answer = std::function<bool(const Path&)>;
    static bool Yes(const Path&) { return true; }
    explicit Recorder(Answer answer = Yes) : m_answer(std::move(answer)) {}

    bool HandleFile(const Path& file) override
    {
        names.push_back(file.FileName());
        return m_answer(file);
    }

    std::vector<std::string> names;

private:
    Answer m_answer;
};

// What an exception says of its cause: the parameters and the system's error, 0 when none is stored.
struct Cause {
    std::vector<std::string> parameters;
    std::uint32_t error = 0;

    friend bool operator==(const Cause&, const Cause&) = default;
    friend void PrintTo(const Cause& cause, std::ostream* out)
    {
        *out << testing::PrintToString(cause.parameters) << ", error " << cause.error;
    }
};

template <class Exception, class Operation>
Cause CauseOf(Operation operation)
{
    try {
        operation();
    } catch (const Exception& exception) {
        Cause cause;
        for (const Kiv::WString& parameter : exception.Message()->Parameters())
            cause.parameters.push_back(Kiv::NarrowFromWide(parameter));
        cause.error = exception.Message()->LastError().value_or(0);
        EXPECT_STREQ(exception.Message()->SourceFile(), "src/KivPath");
        return cause;
    }
    return {{"nothing was thrown"}};
}

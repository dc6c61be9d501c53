// What the tests of files and buffers share.
#pragma once

#include <fstream>
#include <iterator>

#include <KivBase/BinaryStreamBuf.h>
#include <KivBase/WString.h>
#include <platform/Folder.h>

// A fresh directory for the files of one test, with names as a user writes them.
class TemporaryDirectory
{
public:
    std::string Path() const { return m_path.string(); }
    std::string File(const std::string& name = "file") const { return (m_path / name).string(); }

    std::string Make(const std::string& content) const
    {
        std::ofstream(m_path / "file", std::ios::binary) << content;
        return File();
    }

    std::string Content() const
    {
        std::ifstream file(m_path / "file", std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    // The name of the first entry; empty when there is none.
    std::string EntryName() const
    {
        const std::filesystem::directory_iterator entries(m_path);
        return entries == end(entries) ? "" : entries->path().filename().string();
    }

private:
    const Folder m_folder;
    const std::filesystem::path m_path = std::filesystem::path(m_folder.Path()).make_preferred();
};

// The whole content of a buffer, whose get position is then at its end.
inline std::string ContentOf(Kiv::BinaryStreamBufT<unsigned int>& buffer)
{
    std::string content;
    buffer.SeekG(0);
    buffer.Copy(content, buffer.Size());
    return content;
}

inline std::string BytesOf(const Kiv::WString& units)
{
    return {reinterpret_cast<const char*>(units.data()), 2 * units.size()};
}

// How the text begins with which an operation fails, up to the file's name; empty when it throws another class or none.
template <class Exception, class Operation>
std::string FailureOf(Operation operation)
{
    try {
        operation();
    } catch (const Exception& failure) {
        EXPECT_EQ(typeid(failure), typeid(Exception));
        const std::string text = Kiv::Utf8(failure.What());
        return text.find("kiv-test-") == text.npos ? text : text.substr(0, text.find(" file "));
    }
    return "";
}

// The words with which an operation is refused; empty when it is not.
template <class Operation>
std::string RefusalOf(Operation operation)
{
    try {
        operation();
    } catch (const std::runtime_error& refusal) {
        return refusal.what();
    }
    return "";
}

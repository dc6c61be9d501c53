// What tests do with files below the library: by the calls of the platform floor.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <platform/Platform.h>

// A folder of a test's own, removed with all that is in it.
class Folder
{
public:
    explicit Folder(const std::string& parent = KivSys::TemporaryDirectory())
    {
        static int count = 0;
        m_path = parent + "/kiv-test-" + std::to_string(KivSys::GetCurrentProcessId()) + "-" + std::to_string(++count);
        // An interrupted process of the same number may have left one.
        Remove();
        KivSys::MakeDirectoryA(m_path.c_str());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { Remove(); }

    // The path of a name in the folder, in the house's form.
    std::string operator/(const std::string& name) const { return m_path + "\\" + name; }
    const std::string& Path() const { return m_path; }

private:
    void Remove() const
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string m_path;
};

// Wine is held to what it can do; each use says what that is.
inline bool IsWine()
{
    return std::getenv("WINEUSERNAME") != nullptr;
}

// A handle that is closed at the end of its scope.
class Opened
{
public:
    explicit Opened(KivSys::HANDLE handle) : m_handle(handle) {}
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    ~Opened() { Close(); }

    operator KivSys::HANDLE() const { return m_handle; }
    explicit operator bool() const { return m_handle != KivSys::InvalidHandle() && m_handle != nullptr; }
    void Close()
    {
        if (*this)
            KivSys::CloseHandle(m_handle);
        m_handle = nullptr;
    }

private:
    KivSys::HANDLE m_handle;
};

inline KivSys::DWORD CodeOf(bool isDone)
{
    return isDone ? KivSys::DWORD{KivSys::ErrorSuccess} : KivSys::GetLastError();
}

constexpr KivSys::DWORD ReadWrite = KivSys::DWORD{KivSys::GenericRead} | KivSys::GenericWrite;

inline KivSys::HANDLE OpenFile(const std::string& path, KivSys::DWORD disposition, KivSys::DWORD access = ReadWrite,
                               KivSys::DWORD share = KivSys::ShareNone, KivSys::DWORD flags = KivSys::AttributeNormal)
{
    return KivSys::CreateFileA(path.c_str(), access, share, disposition, flags);
}

template <class... Arguments>
KivSys::DWORD CodeOfOpening(const Arguments&... arguments)
{
    const Opened file(OpenFile(arguments...));
    return CodeOf(static_cast<bool>(file));
}

inline void WriteText(const std::string& path, const std::string& text)
{
    const Opened file(OpenFile(path, KivSys::CreateAlways));
    KivSys::DWORD written = 0;
    KivSys::WriteFile(file, text.data(), static_cast<KivSys::DWORD>(text.size()), &written);
}

inline std::string ReadText(const std::string& path)
{
    const Opened file(OpenFile(path, KivSys::OpenExisting, KivSys::GenericRead, KivSys::ShareRead));
    std::string text(100, '\0');
    KivSys::DWORD read = 0;
    KivSys::ReadFile(file, text.data(), static_cast<KivSys::DWORD>(text.size()), &read);
    return text.substr(0, read);
}

using Found = std::set<std::string>;

// The names that match a pattern, without "." and "..". The last error is that of the end.
inline Found Find(const std::string& pattern)
{
    Found names;
    KivSys::FindDataA found;
    const KivSys::HANDLE search = KivSys::FindFirstFileA(pattern.c_str(), &found, 0);
    if (search == KivSys::InvalidHandle())
        return names;
    do {
        if (found.name != "." && found.name != "..")
            names.insert(found.name);
    } while (KivSys::FindNextFileA(search, &found));
    const KivSys::DWORD error = KivSys::GetLastError();
    KivSys::FindClose(search);
    KivSys::SetLastError(error);
    return names;
}

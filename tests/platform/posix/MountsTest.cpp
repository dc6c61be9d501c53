// Names on servers, with a mount table written for the test.
#include <fstream>

#include <platform/posix/Mounts.h>

#include "../Folder.h"

namespace
{

using namespace KivSys;
namespace fs = std::filesystem;

class NetworkNames : public testing::Test
{
protected:
    NetworkNames()
    {
        for (const char* name : {"docs", "docs/local", "deep", "nfs", "a b", "again"})
            fs::create_directory(m_root / name);
        std::ofstream table(m_root / "table");
        const auto add = [&](const char* source, const std::string& point, const char* type) {
            table << source << ' ' << m_root.string() << '/' << point << ' ' << type << " rw 0 0\n";
        };
        table << "/dev/x / ext4 rw 0 0\n";
        add("//Server/Docs", "docs", "cifs");
        add("tmpfs", "docs/local", "tmpfs");
        add("//server/docs/sub/deep/", "deep", "smb3");
        add("[fe80::1]:/export/home", "nfs", "nfs4");
        add("//server/with\\040blank", "a\\040b", "cifs");
        add("//server/first", "again", "cifs");
        add("//server/second", "again", "cifs");
        table.close();
        SetMountTable(m_tablePath.c_str());
    }
    ~NetworkNames() override { SetMountTable(nullptr); }

    static std::string UniversalName(const std::string& path)
    {
        std::vector<UniversalNameInfo<char>> buffer(1);
        DWORD size = sizeof buffer[0];
        DWORD code = WNetGetUniversalNameA(path.c_str(), buffer.data(), &size);
        if (code != ErrorMoreData)
            return std::to_string(code);
        buffer.resize(size / sizeof buffer[0] + 1);
        code = WNetGetUniversalNameA(path.c_str(), buffer.data(), &size);
        return code == ErrorSuccess ? buffer[0].universalName : std::to_string(code);
    }

    const Folder m_folder;
    const fs::path m_root = fs::canonical(m_folder.Path());
    const std::string m_tablePath = m_root / "table";
};

TEST_F(NetworkNames, PathsBelowAMountPointHaveThem)
{
    fs::create_directory_symlink("docs", m_root / "link");
    const struct {
        const char* path;
        const char* name;
    } rows[] = {
        {"docs\\missing\\x", "\\\\Server\\Docs\\missing\\x"},
        {"link\\x", "\\\\Server\\Docs\\x"},
        {"docs\\..\\docs\\x", "\\\\Server\\Docs\\x"},
        {"docsx", "2250"},
        {"docs\\local\\x", "2250"},
        {"deep\\x", "\\\\server\\docs\\sub\\deep\\x"},
        {"nfs\\x\xEF\x80\xBA", "\\\\[fe80\xEF\x80\xBA\xEF\x80\xBA"
                               "1]\\export\\home\\x\xEF\x80\xBA"},
        {"a b\\x", "\\\\server\\with blank\\x"},
        {"again", "\\\\server\\second"},
        {".", "2250"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(UniversalName(m_folder / row.path), row.name) << row.path;
    EXPECT_EQ(UniversalName("C:\\x"), "3");
}

TEST_F(NetworkNames, OpenBelowTheMountPointOfTheirShare)
{
    const struct {
        const char* name;
        const char* path; // null: not mounted
    } rows[] = {
        {"\\\\server\\docs\\file", "docs/file"},
        {"\\\\SERVER/DOCS/sub\\file", "docs/sub/file"},
        {"\\\\server\\docs\\sub\\deep\\file", "deep/file"},
        {"\\\\server\\with blank\\file", "a b/file"},
        {"\\\\server\\docsx\\file", nullptr},
        {"\\\\server", nullptr},
    };
    fs::create_directory(m_root / "docs/sub");
    for (const auto& row : rows) {
        EXPECT_EQ(CodeOfOpening(row.name, OpenAlways), row.path ? ErrorSuccess : ErrorBadNetPath) << row.name;
        EXPECT_TRUE(!row.path || fs::exists(m_root / row.path)) << row.name;
    }
}

TEST_F(NetworkNames, TheDriveTypeIsThatOfTheMount)
{
    const fs::path before = fs::current_path();
    fs::current_path(m_root / "docs");
    EXPECT_EQ(GetDriveTypeA(""), DriveRemote);
    fs::current_path(m_root / "docs/local");
    EXPECT_EQ(GetDriveTypeA(""), DriveFixed);
    fs::current_path(before);
    EXPECT_EQ(GetDriveTypeA("\\\\server\\docs\\"), DriveRemote);
    EXPECT_EQ(GetDriveTypeA("\\\\server\\other\\"), DriveNoRootDir);
}

} // namespace

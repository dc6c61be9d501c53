// Drives, the current directory, servers and stored letter case. Where there are no drives, every letter is a missing
// one.
#include <filesystem>

#include "FileSystem.h"

namespace
{

template <class T>
class PathPlaces : public FileSystem<T>
{
};
TYPED_TEST_SUITE(PathPlaces, BothWidths);

template <class T>
bool IsInvalidDrive(char drive)
{
    try {
        return KivFile::PathT<T>::GetCurrentPath(static_cast<T>(drive)).FullPath().empty();
    } catch (const KivFile::InvalidPathException&) {
        return true;
    }
}

TYPED_TEST(PathPlaces, TheCurrentPathIsThatOfTheProcessOrOfADrive)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    const TypedPath expected(this->Text(std::filesystem::current_path().string()));
    EXPECT_EQ(TypedPath::GetCurrentPath('.').FullPath(), expected.FullPath());
    const KivSys::DWORD drives = KivSys::GetLogicalDrives();
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        const char upper = static_cast<char>(letter - 'a' + 'A');
        if ((drives >> (letter - 'a') & 1) == 0) {
            EXPECT_TRUE(IsInvalidDrive<TypeParam>(letter) && IsInvalidDrive<TypeParam>(upper)) << letter;
        } else {
            const TypedPath path = TypedPath::GetCurrentPath(upper);
            EXPECT_TRUE(path.IsAbsolute() && path.HasDrive()) << letter;
            EXPECT_EQ(path.FullPathLowerCase()[0], static_cast<unsigned char>(letter));
            EXPECT_EQ(path.FullPath(), TypedPath::GetCurrentPath(letter).FullPath());
        }
    }
    for (const char noLetter : {'1', '@', '[', '\\', ':', '{'})
        EXPECT_TRUE(IsInvalidDrive<TypeParam>(noLetter)) << noLetter;
}

TYPED_TEST(PathPlaces, TheServerIsThatOfANetworkPathOrThisComputer)
{
    EXPECT_EQ(this->Ascii(this->Of("\\\\Srv\\sh\\x").GetServer()), "Srv");
    EXPECT_EQ(this->Ascii(this->Of("\\\\Srv").GetServer()), "Srv");
    const std::string computer = this->Ascii(this->At("x").GetServer());
    EXPECT_FALSE(computer.empty());
    EXPECT_LE(computer.size(), 15u);
    EXPECT_EQ(this->Ascii(this->Of("relative").GetServer()), computer);
    EXPECT_TRUE(this->At("x").IsLocal());
    EXPECT_TRUE(this->Of("relative").IsLocal());
    EXPECT_TRUE(this->Of("\\\\" + Kiv::ToLower(computer) + "\\sh").IsLocal());
    EXPECT_TRUE(this->Of("\\\\" + Kiv::ToUpper(computer)).IsLocal());
    EXPECT_FALSE(this->Of("\\\\" + computer + "x\\sh").IsLocal());
}

TYPED_TEST(PathPlaces, AMissingDriveIsNamedBeforeThePathAndWithoutAnError)
{
    ASSERT_EQ(KivSys::GetLogicalDrives() >> ('q' - 'a') & 1, 0u);
    EXPECT_EQ(CauseOf<KivFile::DriveDoesNotExistException>([&] { return this->Of("Q:\\dir\\x").GetServer(); }),
              (Cause{{"Q:", "Q:\\dir\\x"}, 0}));
}

TYPED_TEST(PathPlaces, AskingForTheNetworkFormOfALocalPathStoresNothing)
{
    auto result = this->Text("unchanged");
    EXPECT_TRUE(this->File("file").GetFullPathAsUNC(result));
    EXPECT_EQ(this->Ascii(result), "unchanged");
}

TYPED_TEST(PathPlaces, RetrieveCasingTakesOverTheStoredNames)
{
    this->Directory("MiXed.Dir");
    const auto stored = this->File("MiXed.Dir\\FiLe.TxT");
    auto path = stored;
    path.RetrieveCasing();
    EXPECT_EQ(path.FullPath(), stored.FullPath());

    auto other = this->At("mixed.DIR\\file.txt");
    const auto before = other.FullPath();
    const bool ignoresCase = other.Exists();
    other.RetrieveCasing();
    EXPECT_EQ(other.FileName(), ignoresCase ? stored.FileName() : this->Text("file.txt"));
    if (!ignoresCase) {
        EXPECT_EQ(other.FullPath(), before);
        // Names that differ in letter case only are two files.
        this->File("MiXed.Dir\\FILE.txt");
        auto twin = this->File("MiXed.Dir\\file.txt");
        twin.RetrieveCasing();
        EXPECT_EQ(twin.FileName(), this->Text("file.txt"));
    }
    auto relative = this->Of("..");
    relative.RetrieveCasing();
    EXPECT_EQ(this->Ascii(relative.FullPath()), "..");
}

TYPED_TEST(PathPlaces, RetrieveCasingOfADriveIsUpperCase)
{
    if (KivSys::GetLogicalDrives() == 0)
        GTEST_SKIP() << "no drives here";
    auto root = this->Of("c:\\");
    root.RetrieveCasing();
    EXPECT_EQ(this->Ascii(root.FullPath()), "C:\\");
    auto windows = this->Of("c:\\WINDOWS\\SYSTEM32");
    windows.RetrieveCasing();
    EXPECT_EQ(this->Ascii(windows.FullPath()), "C:\\windows\\system32");
}

} // namespace

// Drives, the current directory, servers and stored letter case. Where there are no drives, every letter is a missing
// one.

#include "FileSystem.h"

namespace
{

template <class T>
using PathPlaces = FileSystem<T>;
TYPED_TEST_SUITE(PathPlaces, BothWidths);

TYPED_TEST(PathPlaces, TheCurrentPathIsThatOfTheProcessOrOfADrive)
{
    using TypedPath = KivFile::PathT<TypeParam>;
    const TypedPath expected(this->Text(std::filesystem::current_path().string()));
    EXPECT_EQ(TypedPath::GetCurrentPath('.').FullPath(), expected.FullPath());
    const KivSys::DWORD drives = KivSys::GetLogicalDrives();
    std::string invalid = "1@[\\:{";
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        const char upper = static_cast<char>(letter - 'a' + 'A');
        if ((drives >> (letter - 'a') & 1) == 0) {
            (invalid += letter) += upper;
            continue;
        }
        const TypedPath path = TypedPath::GetCurrentPath(upper);
        EXPECT_TRUE(path.IsAbsolute() && path.HasDrive()) << letter;
        EXPECT_EQ(path.FullPathLowerCase()[0], static_cast<unsigned char>(letter));
        EXPECT_EQ(path.FullPath(), TypedPath::GetCurrentPath(letter).FullPath());
    }
    for (const char drive : invalid)
        EXPECT_THROW((void)TypedPath::GetCurrentPath(static_cast<TypeParam>(drive)), KivFile::InvalidPathException);
}

TYPED_TEST(PathPlaces, TheServerIsThatOfANetworkPathOrThisComputer)
{
    for (const char* path : {"\\\\Srv\\sh\\x", "\\\\Srv"})
        EXPECT_EQ(this->Ascii(this->Of(path).GetServer()), "Srv");
    const std::string computer = this->Ascii(this->At("x").GetServer());
    EXPECT_TRUE(!computer.empty() && computer.size() <= 15);
    EXPECT_EQ(this->Ascii(this->Of("relative").GetServer()), computer);
    for (const std::string& local : {this->In("x"), std::string("relative"), "\\\\" + Kiv::ToLower(computer) + "\\sh",
                                     "\\\\" + Kiv::ToUpper(computer)})
        EXPECT_TRUE(this->Of(local).IsLocal()) << local;
    EXPECT_FALSE(this->Of("\\\\" + computer + "x\\sh").IsLocal());
    auto networkForm = this->Text("unchanged");
    EXPECT_TRUE(this->File("file").GetFullPathAsUNC(networkForm));
    EXPECT_EQ(this->Ascii(networkForm), "unchanged");
}

TYPED_TEST(PathPlaces, AMissingDriveIsNamedBeforeThePathAndWithoutAnError)
{
    ASSERT_EQ(KivSys::GetLogicalDrives() >> ('q' - 'a') & 1, 0u);
    EXPECT_EQ(CauseOf<KivFile::DriveDoesNotExistException>([&] { return this->Of("Q:\\dir\\x").GetServer(); }),
              (Cause{{"Q:", "Q:\\dir\\x"}, 0}));
}

TYPED_TEST(PathPlaces, RetrieveCasingTakesOverTheStoredNames)
{
    this->Directory("MiXed.Dir");
    const auto stored = this->File("MiXed.Dir\\FiLe.TxT");
    auto other = this->At("mixed.DIR\\file.txt");
    const auto before = other.FullPath();
    const bool ignoresCase = other.Exists();
    other.RetrieveCasing();
    EXPECT_EQ(other.FullPath(), ignoresCase ? stored.FullPath() : before);
    if (!ignoresCase) {
        // Names that differ in letter case only are two files.
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
    for (const std::string text : {"C:\\", "C:\\windows\\system32"}) {
        auto path = this->Of(Kiv::ToLower(text));
        path.RetrieveCasing();
        EXPECT_EQ(this->Ascii(path.FullPath()), text);
    }
}

} // namespace

#include <KivFile/FileException.h>
#include <KivFile/OLE/OLEException.h>

#include <memory>

#include <gtest/gtest.h>
#include <messages/KivFileMsg-I.h>
#include <src/MessageRecord.h>

#include <KivBase/Messages.h>

using namespace Kiv;
using namespace KivFile;

namespace
{

template <class Class_, class... Bases_>
struct Kin {
    using Class = Class_;
    // Whether the exception is caught as each of its bases.
    static bool IsCaught(const BaseException& exception) { return (IsCaughtAs<Bases_>(exception) && ...); }

private:
    template <class Base>
    static bool IsCaughtAs(const BaseException& exception)
    {
        try {
            exception.Throw();
        } catch (const Base& caught) {
            return typeid(caught) == typeid(Class);
        } catch (...) {
        }
        return false;
    }
};

template <class Kin>
struct ExceptionTree : testing::Test {
};

using namespace KivFile::OLE;
using Tree =
    testing::Types<Kin<FileException, Exception, BaseException>, Kin<SharingViolationException, FileException>,
                   Kin<FileAccessDeniedException, FileException>, Kin<FileCannotOpenException, FileException>,
                   Kin<FileCannotDeleteException, FileException>, Kin<FilePermissionDeniedException, FileException>,
                   Kin<WriteErrorException, FilePermissionDeniedException, FileException>,
                   Kin<FileCannotCreateException, FileException>, Kin<FileCannotCopyException, FileException>,
                   Kin<FileCannotMoveException, FileException>, Kin<FileCannotSetAttributes, FileException>,
                   Kin<DriveDoesNotExistException, FileException>, Kin<CannotRetrieveServerException, FileException>,
                   Kin<CannotListAllFilesException, FileException>, Kin<InvalidPathException, FileException>,
                   Kin<SeekOutOfRangeException, FileException>, Kin<OLEException, Exception, BaseException>,
                   Kin<NotAStorageOLEException, OLEException>, Kin<CorruptedStorageOLEException, OLEException>,
                   Kin<StorageNotFoundOLEException, OLEException>, Kin<StreamNotFoundOLEException, OLEException>,
                   Kin<NotAPropertyStorageOLEException, OLEException>,
                   Kin<CorruptedPropertyStorageOLEException, OLEException>>;
TYPED_TEST_SUITE(ExceptionTree, Tree);

std::uint32_t NumberAt(std::size_t offset, unsigned size)
{
    std::uint32_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value |= std::uint32_t{MESSAGE_BLOCK.Bytes()[offset + i]} << 8 * i;
    return value;
}

} // namespace

TYPED_TEST(ExceptionTree, CopyAndThrowKeepClassAndText)
{
    using Class = typename TypeParam::Class;
    const Class original(MessageRecord(MessageId::Writing, "src/Test", "a.txt"));
    const std::unique_ptr<BaseException> copy(original.Copy());
    EXPECT_EQ(typeid(*copy), typeid(Class));
    EXPECT_EQ(Utf8(copy->What()), "An error occurred while writing data in the file a.txt.");
    EXPECT_FALSE(static_cast<const Class&>(*copy).Message());
    EXPECT_TRUE(TypeParam::IsCaught(*copy));
    EXPECT_EQ(Class().What(), WString());
}

TEST(MessageRecords, NameTheirPlaceAndParameters)
{
    const unsigned int here = __LINE__ + 1;
    const auto record = MessageRecord(MessageId::NoSuchDrive, "src/KivPath", u"z:"_w, std::string("z:\\x"));
    EXPECT_STREQ(record->Module(), "KivFile");
    EXPECT_STREQ(record->SourceFile(), "src/KivPath");
    EXPECT_EQ(record->SourceLine(), here);
    EXPECT_FALSE(record->LastError());
    EXPECT_EQ(Utf8(DriveDoesNotExistException(record).What()), "The drive z: in z:\\x does not exist.");
}

TEST(MessageCatalog, IsRegisteredWhenTheLibraryIsLoaded)
{
    EXPECT_GE(KivMessagesInit::ms_Cnt, 1);
    EXPECT_EQ(Utf8(KivMessages::Text("KivFile", 0)), "It is impossible to open the configuration source %1.");
    EXPECT_EQ(Utf8(KivMessages::Text("KivFile", 17)), "An error occurred while getting the file attributes for %1.");
    EXPECT_EQ(KivMessages::Text("KivFile", 18), WString());
}

TEST(MessageCatalog, BlockHasTheStatedLayout)
{
    ASSERT_EQ(NumberAt(0, 4), 18u);
    std::size_t at = 4;
    for (std::uint32_t id = 0; id < 18; ++id) {
        const auto* record = reinterpret_cast<const char*>(MESSAGE_BLOCK.Bytes()) + at;
        EXPECT_EQ(std::string(record, 11), std::string("\7\0\0\0KivFile", 11));
        EXPECT_EQ(NumberAt(at + 11, 4), id);
        EXPECT_EQ(NumberAt(at + 15, 4), 7u);
        EXPECT_EQ(NumberAt(at + 19, 1), 1u);
        const std::uint32_t length = NumberAt(at + 20, 4);
        EXPECT_EQ(NumberAt(at + 24 + length - 2, 2), u'.');
        EXPECT_EQ(NumberAt(at + 24 + length, 2), 0u);
        EXPECT_EQ(NumberAt(at + 26 + length, 4), 0u);
        at += 30 + length;
    }
    EXPECT_EQ(at, 2398u);
}

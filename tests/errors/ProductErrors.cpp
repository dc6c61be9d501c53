#include <KivFile/FileException.h>
#include <KivFile/OLE/OLEException.h>

#include <memory>
#include <type_traits>

#include <gtest/gtest.h>
#include <messages/KivFileMsg-I.h>
#include <src/MessageRecord.h>

#include <KivBase/BinaryStreamException.h>
#include <KivBase/Messages.h>

using namespace Kiv;
using namespace KivFile;
using namespace std::literals;

namespace
{

template <class Class_, class... Bases>
struct Kin {
    using Class = Class_;
    static_assert((std::is_base_of_v<Bases, Class> && ...));
};

template <class Kin>
struct ExceptionTree : testing::Test {
};

using namespace KivFile::OLE;
using Tree = testing::Types<
    Kin<BinaryStreamGetEOFException, BinaryStreamException>, Kin<BinaryStreamPutEOFException, BinaryStreamException>,
    Kin<FileException, Exception, BaseException>, Kin<SharingViolationException, FileException>,
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
    Kin<NotAPropertyStorageOLEException, OLEException>, Kin<CorruptedPropertyStorageOLEException, OLEException>>;
TYPED_TEST_SUITE(ExceptionTree, Tree);

} // namespace

TYPED_TEST(ExceptionTree, CopyAndThrowKeepClassAndText)
{
    using Class = typename TypeParam::Class;
    const Class original(MessageRecord(MessageId::Writing, "src/Test", "a.txt"));
    const std::unique_ptr<BaseException> copy(original.Copy());
    try {
        copy->Throw();
    } catch (const Class& thrown) {
        EXPECT_TRUE(typeid(*copy) == typeid(Class) && typeid(thrown) == typeid(Class));
        EXPECT_EQ(Utf8(thrown.What()), "An error occurred while writing data in the file a.txt.");
        EXPECT_FALSE(thrown.Message());
    }
    EXPECT_EQ(Class().What(), WString());
}

TEST(MessageRecords, NameTheirPlaceAndParameters)
{
    const unsigned int here = __LINE__ + 1;
    const auto record = MessageRecord(MessageId::NoSuchDrive, "src/KivPath", u"z:"_w, std::string("z:\\x"));
    EXPECT_STREQ(record->SourceFile(), "src/KivPath");
    EXPECT_EQ(record->SourceLine(), here);
    EXPECT_EQ(Utf8(DriveDoesNotExistException(record).What()), "The drive z: in z:\\x does not exist.");
}

TEST(MessageCatalog, IsRegisteredWhenTheLibraryIsLoadedAndHasTheStatedLayout)
{
    EXPECT_GE(KivMessagesInit::ms_Cnt, 1);
    EXPECT_EQ(Utf8(KivMessages::Text("KivFile", 17)), "An error occurred while getting the file attributes for %1.");
    EXPECT_EQ(KivMessages::Text("KivFile", 18), WString());
    const auto* block = reinterpret_cast<const char*>(MESSAGE_BLOCK.Bytes());
    const WString text = KivMessages::Text("KivFile", 0);
    EXPECT_EQ(Utf8(text), "It is impossible to open the configuration source %1.");
    // The count; the module, the id, the loader's two fields and the bytes of the text, which ends with six zeros.
    EXPECT_EQ(std::string(block, 28), "\x12\0\0\0\7\0\0\0KivFile\0\0\0\0\7\0\0\0\1\x6A\0\0\0"s);
    EXPECT_EQ(std::string(block + 28 + 2 * text.size(), 6 + 15), "\0\0\0\0\0\0\7\0\0\0KivFile\1\0\0\0"s);
}

// What happens when the library is loaded and unloaded: its messages are registered for as long as it is there.
#include <KivBase/Messages.h>
#include <messages/KivFileMsg-I.h>
#include <platform/Platform.h>

namespace KivFile
{

namespace
{

// The first module of the process makes the catalog, the last one frees it.
struct Registration {
    Registration()
    {
        KivSys::DisableThreadNotifications();
        if (KivMessagesInit::ms_Cnt++ == 0)
            KivMessages::Init();
        KivMessages::Load(MESSAGE_BLOCK.Bytes(), MessageBlock::SIZE, "KivFileMsg-I");
    }

    ~Registration()
    {
        if (--KivMessagesInit::ms_Cnt == 0)
            KivMessages::Free();
    }
};

const Registration registration;

} // namespace

} // namespace KivFile

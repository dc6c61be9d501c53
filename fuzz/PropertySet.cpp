// Property sets: the properties of any bytes.
#include <cstddef>
#include <cstdint>

#include <KivFile/OLE/PropertyStorage.h>
#include <KivFile/StaticMemoryBuffer.h>

using namespace KivFile;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    StaticMemoryBuffer buffer(static_cast<const void*>(data), static_cast<unsigned int>(size));
    try {
        OLE::PropertyStorage::AllMap all;
        OLE::PropertyStorage(buffer).Properties(all);
        for (const auto& [name, value] : all)
            (void)value.AsWString();
    } catch (const OLE::OLEException&) {
    }
    return 0;
}

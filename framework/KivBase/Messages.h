// The family's message catalog: every module registers its texts when it is loaded.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include <KivBase/Export.h>
#include <KivBase/WString.h>

// A module registers like this: when the shared count of users was 0, Init(); then Load() of its own block; when the
// module goes and the count returns to 0, Free().
class KIV_EXPORT KivMessages
{
public:
    // Makes the catalog, empty.
    static void Init();

    // Registers the messages of a block: a 32-bit record count, then per record the module tag (32-bit length, bytes),
    // the message id (32 bits), a 32-bit and an 8-bit constant, the text (32-bit length in bytes, UTF-16LE, two zero
    // bytes) and a 32-bit zero; all integers little-endian. The block is copied. A later message replaces an earlier
    // one with the same tag and id. Throws std::runtime_error with the block's name when the block is malformed
    // (nothing of it is registered then), and std::logic_error before the first Init.
    static void Load(const unsigned char* data, unsigned int size, const char* name);

    // Drops all messages; Init comes before the next Load.
    static void Free();

    // The text of a message; an empty text when the module has registered none under that id.
    [[nodiscard]] static Kiv::WString Text(std::string_view module, std::uint32_t id);
};

// The count of modules that use the catalog.
struct KIV_EXPORT KivMessagesInit {
    static std::atomic<int> ms_Cnt;
};

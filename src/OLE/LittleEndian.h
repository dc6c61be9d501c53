// Integers of documents, which are little-endian wherever they stand.
#pragma once

#include <bit>
#include <cstring>

namespace KivFile::OLE
{

static_assert(std::endian::native == std::endian::little, "tables are read as they lie in the document");

template <class Value>
[[nodiscard]] Value Load(const unsigned char* bytes)
{
    Value value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

} // namespace KivFile::OLE

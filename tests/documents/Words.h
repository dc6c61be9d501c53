// What the tests of documents and property sets read, in words.
#pragma once

#include <string>

#include <KivFile/OLE/PropertyStorage.h>
#include <KivFile/StaticMemoryBuffer.h>

namespace KivTest
{

inline KivFile::StaticMemoryBuffer Over(const std::string& bytes)
{
    return {static_cast<const void*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

// "NumberOfPages=int 1|Title=t|": the type is told of all but texts.
inline std::string Words(const KivFile::OLE::PropertyStorage::AllMap& properties)
{
    std::string words;
    for (const auto& [name, value] : properties) {
        const std::string type(value.TypeName());
        words += name + '=' + (type == "wstring" ? "" : type + ' ') + Kiv::Utf8(value.AsWString()) + '|';
    }
    return words;
}

} // namespace KivTest

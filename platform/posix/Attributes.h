// What the file system knows of an entry, as the house's attributes.
#pragma once

#include <platform/Platform.h>

namespace KivSys
{

// The extended attribute that holds the attributes for which the mode has no place, as the text "0x..".
constexpr const char* ATTRIBUTES_NAME = "user.DOSATTRIB";

enum class StoredPart { Read, Leave };

// Reads the data of an entry by its name in an open directory, or by its path when the directory is AT_FDCWD. False,
// with errno set, on failure.
bool ReadAttributeData(int directory, const char* path, StoredPart storedPart, FileAttributeData* data);

} // namespace KivSys

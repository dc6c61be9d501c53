// The text of settings files, read and written as the platform's text mode does.
#pragma once

#include <optional>
#include <string>

#include <KivBase/WString.h>

namespace KivFile
{

// The whole text of a file with its line ends as they are, decoded as narrow text; nothing when there is no such file.
// Throws Kiv::Config::CannotOpenSourceException.
[[nodiscard]] std::optional<Kiv::WString> ReadConfigText(const std::string& fileName);

// Creates a file, empty; one that is there already stays as it is.
// Throws Kiv::Config::CannotOpenSourceException.
void CreateConfigFile(const std::string& fileName);

// Replaces the content of a file, which is made when it does not exist. The file is opened once the whole text is
// encoded. Line feeds are written as the platform ends its lines.
// Throws Kiv::Config::InvalidConfigException for text that cannot be encoded, CannotOpenSourceException, and
// ConfigException when writing fails.
void WriteConfigText(const std::string& fileName, Kiv::WStringView text);

} // namespace KivFile

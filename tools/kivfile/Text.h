// Text that came from documents and users, made fit to be printed.
#pragma once

#include <string>
#include <string_view>

#include <KivBase/WString.h>

namespace KivTool
{

// Printable UTF-8 of one line of text: control characters, which could drive a terminal, and broken text appear as \xNN
// or \uNNNN.
std::string Printable(Kiv::WStringView text);

// A value that may span lines: each line is printable, and every line after the first begins with indent.
std::string PrintableLines(Kiv::WStringView text, std::string_view indent);

// A file name as the user wrote it, printable.
std::string PrintableFileName(const std::string& name);

// A file name as the user wrote it, as UTF-8 for JSON.
std::string JsonFileName(const std::string& name);

} // namespace KivTool

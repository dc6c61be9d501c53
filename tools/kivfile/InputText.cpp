#include "InputText.h"

#include <istream>
#include <iterator>

#include "EditedFile.h"
#include "platform/Platform.h"

namespace KivTool
{

std::string ReadInput(const std::string& name, std::istream& standardInput)
{
    return name == "-" ? std::string(std::istreambuf_iterator<char>(standardInput), {})
                       : ReadBytes(KivSys::PathFromUser(name));
}

} // namespace KivTool

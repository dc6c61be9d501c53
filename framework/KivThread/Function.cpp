#include <KivThread/Function.h>

namespace KivThread
{

Function::~Function() = default;

} // namespace KivThread

#include <KivBase/SmartPtr.h>

namespace Kiv
{

SPRefCounter::~SPRefCounter() = default;

} // namespace Kiv

#include "core/LocalZone.h"

#include <ctime>

namespace qm::zone {

void refresh() noexcept
{
    ::tzset();
}

std::int64_t offsetAt(std::int64_t unixSecond) noexcept
{
    const std::time_t instant = unixSecond;
    std::tm fields{};
    return ::localtime_r(&instant, &fields) == nullptr ? 0 : fields.tm_gmtoff;
}

} // namespace qm::zone

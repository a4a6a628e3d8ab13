#include "support/System.h"

#include <qt_windows.h>

namespace qm::test {

bool onWindows()
{
    return true;
}

bool underWine()
{
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    return library != nullptr && GetProcAddress(library, "wine_get_version") != nullptr;
}

bool canBeInZone(const QByteArray &zone)
{
    return zone == qgetenv("QM_TEST_ZONE"); // the start of the program leaves nothing of TZ
}

bool interrupt(const QProcess &, int)
{
    return false;
}

std::optional<int> asNobody(const std::function<int()> &)
{
    return std::nullopt;
}

struct SmallDisk::Before
{
};

SmallDisk::SmallDisk(qint64) {}
SmallDisk::~SmallDisk() = default;

} // namespace qm::test

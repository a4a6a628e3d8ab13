// What holds for every program on Windows before its main() runs.

#include <QByteArray>

#include <time.h>

namespace {

struct Start
{
    Start()
    {
        // GCC's threads on Windows free a thread's variables before they are destroyed (GCC bug 80816), and Qt keeps the stack of compiled
        // regular expressions in one: a thread that used an expression would crash at its end. Expressions are interpreted instead.
        qputenv("QT_ENABLE_REGEXP_JIT", QByteArray("0"));
        // Shells from other systems set TZ; the C runtime, and Qt with it, would take "Europe/Berlin" for UTC. Windows has its own zone.
        qunsetenv("TZ");
        _tzset();
    }
};

const Start start;

} // namespace

/// The link options of qm_core name it, so that every program has this file.
extern "C" const int qmStartOnWindows;
extern "C" const int qmStartOnWindows = 0;

#include "quillmark-report/Interruption.h"

#include "platform/DetachedThread.h"
#include "platform/EndSignals.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace qm {

namespace {

volatile std::sig_atomic_t interrupted = 0; // set by the signal, which can reach nothing else

constexpr auto kLook = std::chrono::milliseconds(20);
/// Whoever ends a program with its whole group signals it twice.
constexpr auto kOneRequest = std::chrono::milliseconds(1000);

extern "C" void onSignal(int)
{
    interrupted = interrupted + 1;
}

} // namespace

Interruption::Interruption(std::shared_ptr<CancelFlag> flag, std::chrono::milliseconds patience)
{
    handleEndSignals(onSignal);
    m_watcher = std::jthread([flag = std::move(flag), patience](const std::stop_token &stop) {
        const auto waitUntil = [&](const auto &happened) {
            while (!stop.stop_requested() && !happened())
                std::this_thread::sleep_for(kLook);
        };
        waitUntil([] { return interrupted > 0; });
        if (stop.stop_requested())
            return;
        // Hastening the database's end may itself have to wait.
        runDetached([flag] { flag->cancel(); });
        const auto asked = std::chrono::steady_clock::now();
        const auto isPast = [&](std::chrono::milliseconds time) { return std::chrono::steady_clock::now() - asked >= time; };
        waitUntil([&] { return isPast(kOneRequest); });
        const int heard = interrupted;
        waitUntil([&] { return interrupted > heard || isPast(patience); });
        if (stop.stop_requested())
            return;
        std::fputs("quillmark-report: The report was broken off while it waited for the system.\n", stderr);
        std::_Exit(EXIT_FAILURE);
    });
}

} // namespace qm

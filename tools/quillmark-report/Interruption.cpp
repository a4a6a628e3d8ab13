#include "quillmark-report/Interruption.h"

#include <csignal>

namespace qm {

namespace {

volatile std::sig_atomic_t interrupted = 0; // set by the signal, which can reach nothing else

extern "C" void onSignal(int)
{
    interrupted = 1;
}

} // namespace

Interruption::Interruption(std::shared_ptr<CancelFlag> flag)
{
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
#ifdef SIGHUP // the terminal went away
    std::signal(SIGHUP, onSignal);
#endif
    m_watcher = std::jthread([flag = std::move(flag)](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            if (interrupted != 0) {
                flag->cancel();
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
}

} // namespace qm

// Mutexes of process-wide tables that stay usable in a child made by fork(). Internal to platform/.
#ifndef ONDREL_PLATFORM_HOLDACROSSFORK_H
#define ONDREL_PLATFORM_HOLDACROSSFORK_H

#include <pthread.h>

#include <mutex>

namespace Ondrel::Host {

// Holds `mutex` while the process forks, so that no child starts with it held by a thread that it
// does not have. The first call counts; to be made before the mutex is locked.
template <std::mutex& mutex>
void HoldAcrossFork() {
    static const int registered =
        pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });
    (void)registered;
}

}  // namespace Ondrel::Host

#endif

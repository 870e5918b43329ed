// Process services: diagnostics, cancelling, the clock.
#ifndef ONDREL_CORE_PROCESS_H
#define ONDREL_CORE_PROCESS_H

#include "ondrel/platform/Export.h"

namespace Ondrel {

// Emits a diagnostic message, printf-style: one line on standard error, or a call of the handler. A
// message is cut at 1023 bytes.
ONDREL_EXPORT void debug(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Takes the messages of `debug` from now on, each without a line end; null goes back to standard
// error. Answers the handler before. For hosts and tests, to be set while no other thread calls.
using DebugHandler = void (*)(const char* message);
ONDREL_EXPORT DebugHandler SetDebugHandler(DebugHandler handler);

// Polled by long operations as cancel(0, 0): nonzero when the user has asked to stop. Without a
// handler nobody ever does.
ONDREL_EXPORT int cancel(int, int);

using CancelHandler = int (*)(int, int);
ONDREL_EXPORT CancelHandler SetCancelHandler(CancelHandler handler);

struct Clock {
    // Sixtieths of a second of a clock that never goes back; it wraps after 2^32 of them.
    ONDREL_EXPORT static unsigned int Ticks();
};

// Puts the calling thread to sleep for at least `ms` milliseconds; returns at once when that is
// below 1.
ONDREL_EXPORT void SleepMillis(int ms);

}  // namespace Ondrel

#endif

// Interrupts: SIGINT, SIGTERM and SIGHUP end the program at once while it only reads. Whoever has
// something to clean up holds them off, asks for them, and unwinds; they take effect when the hold
// ends, so that the shell sees a program that was ended by a signal.
//
//   const HoldInterrupts hold;
//   NewFile file(...);
//   while (...) { CheckInterrupt(); ... }
#ifndef TOOLS_ONDREL_INTERRUPTS_H
#define TOOLS_ONDREL_INTERRUPTS_H

#include <csignal>

namespace OndrelTool {

class HoldInterrupts {
 public:
    HoldInterrupts();
    ~HoldInterrupts();  // a signal that has come ends the program here
    HoldInterrupts(const HoldInterrupts&) = delete;
    HoldInterrupts& operator=(const HoldInterrupts&) = delete;

 private:
    sigset_t before_;
};

// What CheckInterrupt throws. It ends at main, all the objects between gone.
struct Interrupted {};

// A signal has come and is held off.
bool IsInterrupted();

// Throws Interrupted where one has come.
void CheckInterrupt();

// Waits until a descriptor can be read; throws Interrupted where a signal comes first.
void WaitForInput(int fd);

// For main: a write to a pipe without a reader, or beyond the limit for a file's size, fails
// instead of ending the program, the library's long operations ask for interrupts, and signals that
// the caller wants ignored stay so.
void PrepareSignals();

}  // namespace OndrelTool

#endif

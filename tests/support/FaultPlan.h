// Faults on demand: makes the n-th system call of the library fail, through the table of
// platform/Syscalls.h. One plan may be alive at a time; the host's calls are back when it goes.
//
//   for (int n = 1;; ++n) {
//       FaultPlan plan(n, ENOSPC);
//       ... the operation; look at the outcome ...
//       if (!plan.Fired()) break;      // it ran untouched: every call has failed once
//   }
#ifndef TESTS_SUPPORT_FAULTPLAN_H
#define TESTS_SUPPORT_FAULTPLAN_H

#include <string>

namespace Ondrel::Testing {

// In the place of an error number: the call is a transfer that moves one byte only. Calls that
// transfer nothing, or one byte, are made as they are.
inline constexpr int kShortTransfer = -1;

// The same: the process is killed in the place of the call, or, of a transfer, when half of it is
// done. For child processes.
inline constexpr int kDie = -2;
inline constexpr int kDieHalfWay = -3;

class FaultPlan {
 public:
    // Fails call number `n` (from 1) with `error`. `call` restricts the count to one entry of the
    // table by its name, for instance "pwrite"; empty counts them all. A failing close still
    // closes. `times` calls from the n-th on fail; -1 for all of them.
    FaultPlan(int n, int error, const std::string& call = {}, int times = 1);
    ~FaultPlan();
    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    // Brings the host's calls back before the plan goes; what it has counted stays.
    void Lift();

    bool Fired() const;         // a fault was injected
    int Calls() const;          // calls counted so far, the failed ones included
    std::string Where() const;  // the name of the call that failed last; empty before
};

// Makes transfers (pread, pwrite and their vector forms) move at most `most` bytes a call.
class ShortTransfers {
 public:
    explicit ShortTransfers(int most);
    ~ShortTransfers();
    ShortTransfers(const ShortTransfers&) = delete;
    ShortTransfers& operator=(const ShortTransfers&) = delete;
};

}  // namespace Ondrel::Testing

#endif

// The ways in which the host may transfer bytes, each forced through the table of system calls.
#ifndef TESTS_FAULTS_TRANSFERWAYS_H
#define TESTS_FAULTS_TRANSFERWAYS_H

#include <vector>

namespace Ondrel::Testing {

struct TransferWay {
    const char* name;
    void (*install)();  // into the host's own table
};

const std::vector<TransferWay>& TransferWays();

// Goes any way for as long as it lives; the host's calls are back when it goes. The disk is not
// waited for: what is flushed, and when, has tests of its own.
class OnTransferWay {
 public:
    explicit OnTransferWay(const TransferWay& way);
    ~OnTransferWay();
    OnTransferWay(const OnTransferWay&) = delete;
    OnTransferWay& operator=(const OnTransferWay&) = delete;

    // Hand-overs to the kernel's ring that it has taken.
    static int RingReads();
};

}  // namespace Ondrel::Testing

#endif

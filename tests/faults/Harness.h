// Every call fails once: the loop of the fault tests, over any operation of the library.
//
// An operation is run in a folder made anew with its first system call failing, then with its
// second, and so on until it has run untouched; with each error number, with the call failing once
// and for good, and with transfers that fall short; and in the same way with each request for
// memory refused. After every run it is held to what it promises:
//
//  - it has succeeded with the same outcome as an untouched run, or told one of the codes that it
//    may tell;
//  - the folder is what the operation's kind allows, and nothing lies about in it;
//  - no descriptor is open and no block of memory is kept;
//  - the operation, run again without a fault, succeeds: no lock and no half state is left.
#ifndef TESTS_FAULTS_HARNESS_H
#define TESTS_FAULTS_HARNESS_H

#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "ondrel/platform/Errors.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

// What an operation told its caller.
struct Answer {
    bool succeeded = false;
    int value = 0;        // as returned or raised
    OSErr code = noErr;   // of the failure
    std::string message;  // the user's sentence, where the operation has one for its failure
    std::string content;  // what it has read or found
};

// What a failure may leave behind.
enum class Leaves {
    kNothing,       // the folder as it was; also after a success
    kOldState,      // the folder as it was
    kOldOrNew,      // that, or the state of a success
    kPartOfTheNew,  // a document that is not finished, in the place of what was there
};

// The code of a failure whose operation tells none, only that it failed.
inline constexpr OSErr kNoCode = 1;

// The folder that an operation works in is the volume "Test", and "tmp" in it is where temporary
// items go.
struct Operation {
    const char* name;
    Leaves leaves;
    void (*prepare)(const Scratch& scratch);
    void (*run)(const Scratch& scratch, Answer* answer);

    // Codes of a failure besides the error number's own.
    std::vector<OSErr> codes = {};

    // A failure that keeps it from its work is told to nobody: it then succeeds all the same.
    bool keepsSilent = false;
};

inline void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

// The items below a folder: what each is, its permission, and its bytes.
using Snapshot = std::map<std::string, std::string>;
Snapshot TakeSnapshot(const std::string& folder);

// The name of a test of it: "write a fork" gives write_a_fork.
std::string NameOfOperation(const ::testing::TestParamInfo<Operation>& info);

// Scratch folders are made in memory while it lives, where the host has a place for that.
class InMemory {
 public:
    InMemory();
    ~InMemory();
    InMemory(const InMemory&) = delete;
    InMemory& operator=(const InMemory&) = delete;

 private:
    std::string before_;
};

void FailEachCall(const Operation& operation);
void CutEachTransfer(const Operation& operation);
void RefuseEachAllocation(const Operation& operation);

}  // namespace Ondrel::Testing

#endif

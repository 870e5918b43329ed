// Steps that the operations of the fault tests share: references into the folder, and calls of
// streams with and without an armed error context.
#ifndef TESTS_FAULTS_STREAMSTEPS_H
#define TESTS_FAULTS_STREAMSTEPS_H

#include <string>

#include "ondrel/fil/fil.h"
#include "tests/faults/Harness.h"

namespace Ondrel::Testing {

// The reference Test:name; a separator in the name is a colon.
inline filref RefTo(const std::string& name) {
    filref ref;
    ref.ConvertFromMacPath(("Test:" + name).c_str());
    return ref;
}

// Makes the calls of `body`, a function of the error context that answers a result. What it raises
// is its result too. Nothing between here and the raise may have to be destroyed.
template <class Body>
int Armed(bool armed, errtyp* e, const Body& body) {
    if (!armed) return body(static_cast<errtyp*>(nullptr));
    switch (setjmp(e->context)) {
        case 0:
            return body(e);
        case -1:
            return -1;
        case -3:
            return -3;
        default:
            return -1000;
    }
}

// What the stream tells of its failure.
inline void Tell(const fil* f, int value, Answer* answer) {
    answer->value = value;
    answer->succeeded = value >= 0;
    if (answer->succeeded) return;
    if (f->sys == nullptr || f->sys->error == noErr) {
        answer->code = kNoCode;
        return;
    }
    answer->code = f->sys->error;
    answer->message = GetFileErrorMessage(f);
}

// Closes with no context: what was to be told has been told. A close that fails makes the operation
// fail, with the code in lasterror.
inline void CloseAndTell(fil* f, Answer* answer) {
    if (f->sys == nullptr) return;
    filerr(f, nullptr);
    if (filclo(f) == 0 || !answer->succeeded) return;
    answer->succeeded = false;
    answer->code = lasterror;
    answer->message = GetFileErrorMessage(nullptr);
}

}  // namespace Ondrel::Testing

#endif

// The long form of a test, for runs by hand: ONDREL_LONG=1 in the environment.
#ifndef TESTS_FAULTS_LONGFORM_H
#define TESTS_FAULTS_LONGFORM_H

#include <cstdlib>

namespace Ondrel::Testing {

inline bool IsLongForm() {
    return std::getenv("ONDREL_LONG") != nullptr;
}

inline int ShortOrLong(int shortForm, int longForm) {
    return IsLongForm() ? longForm : shortForm;
}

}  // namespace Ondrel::Testing

#endif

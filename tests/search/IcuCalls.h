// Counts the calls of the Unicode library that compare or convert names: this program has functions
// of their names, which count and hand on.
#ifndef TESTS_SEARCH_ICUCALLS_H
#define TESTS_SEARCH_ICUCALLS_H

namespace Ondrel::Testing {

// Calls since the program began.
int IcuCalls();

}  // namespace Ondrel::Testing

#endif

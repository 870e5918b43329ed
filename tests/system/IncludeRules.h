// Which file may include which. The rules are checked over the project's sources, and themselves
// tried on small sources that break them.
#ifndef TESTS_SYSTEM_INCLUDERULES_H
#define TESTS_SYSTEM_INCLUDERULES_H

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Ondrel::Testing {

// The sources below ondrel/, by their path from the project's root ("ondrel/fil/fil.h").
using Sources = std::map<std::string, std::string>;

// The headers that are installed, by the same paths.
using PublicHeaders = std::set<std::string>;

// What breaks a rule, one sentence each; empty when all hold:
//  - a folder includes only itself and the folders below it; of the streams, filref/ may include
//    only from fromstream.cc and hiding.cc;
//  - above core, headers of other folders are public ones; those that are internal to a folder are
//    not included from any other;
//  - a public header includes public headers only, an internal one says in its first comment what
//    it is internal to;
//  - system-call headers and errno belong to platform/, other libraries to platform/ and core/;
//  - project headers are named from the project's root, and no file reaches itself again.
std::vector<std::string> BrokenRules(const Sources& sources, const PublicHeaders& publicHeaders);

}  // namespace Ondrel::Testing

#endif

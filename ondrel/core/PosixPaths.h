// The texts of full POSIX paths and of the names in them, without a look at the disk. Internal to
// core.
//
// A clean path begins with '/', has one '/' between components and none at its end ("/" alone is
// the root folder), no "." and no "..", and is valid UTF-8 without a NUL.
#ifndef ONDREL_CORE_POSIXPATHS_H
#define ONDREL_CORE_POSIXPATHS_H

#include <string>
#include <string_view>

#include "ondrel/core/Unicode.h"

namespace Ondrel::Core {

bool IsAscii(std::string_view text);
bool IsUtf8(std::string_view text);

// UTF-16 to UTF-8 for texts that must not change on the way: false for a NUL inside of the text and
// for half a surrogate pair, which no path or name can hold.
bool ToUtf8Exactly(const Uni16String& text, std::string* utf8);

// Of clean paths. The root folder is its own parent, and its last component is empty.
std::string JoinPath(std::string_view folder, std::string_view name);
std::string_view ParentOf(std::string_view path);
std::string_view LastComponent(std::string_view path);

// A Mac name as a POSIX name: each '/' becomes a ':'. False for what cannot be a name: an empty
// text, a text with a ':' or a NUL, one that is not UTF-8, "." and "..".
bool MacNameToPosix(std::string_view macName, std::string* posixName);

// The other way round, which always works.
std::string PosixNameToMac(std::string_view posixName);

// The precomposed form of a name in UTF-8.
std::string PreComposed(std::string_view name);

}  // namespace Ondrel::Core

#endif

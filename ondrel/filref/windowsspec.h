// The Windows syntax of references, from and to colon paths, on 16-bit texts. Internal to filref/.
#ifndef ONDREL_FILREF_WINDOWSSPEC_H
#define ONDREL_FILREF_WINDOWSSPEC_H

#include <cstdint>

namespace Ondrel {

// A Windows path to a colon path; `out` holds kFilrefSize units, and a longer result is cut.
//
//   C:\Docs\a.txt       C:Docs:a.txt
//   \\server\share\f    server:share:f
//   sub\f  or  \f       :sub:f, :f
//   C:foo               C::foo, and a message through `debug`: there is no root after the drive
void winSpecToRef(const std::uint16_t* text, std::uint16_t* out);

// A colon path that is not empty to a Windows path; `out` holds kFilrefSize units.
//
//   C:Docs:a.txt        C:\Docs\a.txt
//   Server:share:f      \\Server\share\f
//   :sub:f              sub\f
//   Disk:Folder:x       \\Disk\Folder\.
//   :a/b                a:2fb                   '/' and '\' of a name become ":2f" and ":5c"
//
// The text ends once it has reached 1021 units. With filRefResourceFork in `flags` it names the
// resource fork; where that does not fit behind it, `out` is empty, for without it the path would
// name the data fork.
void refToWinSpec(const std::uint16_t* ref, std::uint16_t* out, int flags);

}  // namespace Ondrel

#endif

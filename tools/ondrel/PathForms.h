// The forms in which a path can be given and shown.
#ifndef TOOLS_ONDREL_PATHFORMS_H
#define TOOLS_ONDREL_PATHFORMS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/filref/filref.h"

namespace OndrelTool {

enum class PathForm : unsigned char { kMac, kWindows, kGeneric, kPosix, kUrl };

// "mac", "windows" ...; the first four can be read as well.
std::string_view NameOf(PathForm form);
const std::vector<std::string>& ReadableForms();
const std::vector<std::string>& AllForms();
PathForm FormOfName(std::string_view name);

// The reference that a text in one of the forms means; a POSIX path is taken from the present
// folder. Throws a Failure where it means none.
Ondrel::filref ReadPath(const std::string& text, PathForm form);

// The reference in a form; nothing where it has none. Nothing is looked up on the disk.
std::optional<std::string> ShowPath(const Ondrel::filref& reference, PathForm form);

}  // namespace OndrelTool

#endif

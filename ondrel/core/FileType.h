// File types: what a document type's codes and file name extension are, and whether a file is of
// it.
#ifndef ONDREL_CORE_FILETYPE_H
#define ONDREL_CORE_FILETYPE_H

#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

struct FileType {
    // How a file's type is decided: by its codes when it carries any and by its extension
    // otherwise, or the other way round.
    enum TypeCheckingMethod { kByCodes = 0, kByExtension = 2 };

    unsigned int identifier = 0;
    FourCC creator = 0;
    FourCC type = 0;
    std::string extension;  // with or without its dot, perhaps of parts ("tar.gz"); empty for none
};

// Makes a type known; one of the same identifier is replaced in place. Not while other threads ask.
ONDREL_EXPORT void RegisterFileType(const FileType& type);

// The registered type, or null. The pointer stays valid for the life of the process.
ONDREL_EXPORT const FileType* GetFileTypeForIdentifier(unsigned int typeId);

// True when the item is of the type. A type code must be equal, and creators must be equal where
// both are nonzero; extensions compare ignoring case, and the dot before a hidden file's name
// starts none. `*determined` (may be null) is set to true when it could be decided, and is left
// alone otherwise: where the item has neither a code nor an extension that any registered type
// knows, where the type is not registered, and where the item is not there. A code that no
// registered type has decides: no match.
ONDREL_EXPORT bool IsFileSpecOfThisTypeID(const FileSpec& spec, unsigned int typeId,
                                          FileType::TypeCheckingMethod method, bool* determined);

}  // namespace Ondrel

#endif

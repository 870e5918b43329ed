// The Resource Manager. Resource files and forks share one number space.
#ifndef ONDREL_PLATFORM_RESOURCEMANAGER_H
#define ONDREL_PLATFORM_RESOURCEMANAGER_H

#include "ondrel/platform/Export.h"

namespace Ondrel {

// Closes the resource file of that reference number. A number that is not open changes nothing.
ONDREL_EXPORT void CloseResFile(short refNum);

}  // namespace Ondrel

#endif

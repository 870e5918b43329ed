// The running application's own codes, which files that it makes carry as their creator.
#ifndef ONDREL_PLATFORM_BUNDLE_H
#define ONDREL_PLATFORM_BUNDLE_H

#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

// Gives the application its codes; to be called once at its start, though any thread may.
ONDREL_EXPORT void SetMainBundlePackageInfo(FourCC type, FourCC creator);

// The codes given last; '????' for both before. Either may be null.
ONDREL_EXPORT void GetMainBundlePackageInfo(FourCC* type, FourCC* creator);

}  // namespace Ondrel

#endif

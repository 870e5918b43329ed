// The application's codes, kept as one value, so that type and creator always belong together.
#include "ondrel/platform/Bundle.h"

#include <atomic>

namespace Ondrel {
namespace {

constexpr std::uint64_t Pack(FourCC type, FourCC creator) {
    return static_cast<std::uint64_t>(type) << 32 | creator;
}

constexpr FourCC kUnknown = MakeFourCC("????");

constinit std::atomic<std::uint64_t> codes{Pack(kUnknown, kUnknown)};

}  // namespace

void SetMainBundlePackageInfo(FourCC type, FourCC creator) {
    codes.store(Pack(type, creator));
}

void GetMainBundlePackageInfo(FourCC* type, FourCC* creator) {
    const std::uint64_t both = codes.load();
    if (type != nullptr) *type = static_cast<FourCC>(both >> 32);
    if (creator != nullptr) *creator = static_cast<FourCC>(both & 0xFFFFFFFF);
}

}  // namespace Ondrel

// Sidecars and what stands in them: any bytes are read as an AppleDouble file, its fork as a
// resource map, each of its resources as an alias record. What could be read must survive a change
// of the rest.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "ondrel/platform/AliasRecord.h"
#include "ondrel/platform/AppleDouble.h"
#include "ondrel/platform/ResourceMap.h"

using namespace Ondrel;

namespace {

void ReadResources(std::string_view fork) {
    ResourceMap map;
    if (map.Read(fork) != noErr) return;
    for (const Resource& resource : map.Resources()) {
        std::string_view data;
        AliasRecord record;
        if (map.Data(resource, &data) == noErr) (void)ReadAliasRecord(data, &record);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    ReadResources(bytes);
    auto sidecar = AppleDouble::Parse(bytes);
    if (!sidecar) return 0;
    ReadResources(sidecar->GetResourceFork());

    const FinderInfo info = sidecar->GetFinderInfo();
    if (!sidecar->SetResourceFork("new")) return 0;
    if (sidecar->GetFinderInfo().bytes != info.bytes) std::abort();
    const auto again = AppleDouble::Parse(sidecar->Bytes());
    if (!again || again->GetResourceFork() != "new") std::abort();
    return 0;
}

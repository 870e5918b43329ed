// Making previews, and what a file's resource fork then holds.
#ifndef TESTS_PREVIEW_PREVIEWHELPERS_H
#define TESTS_PREVIEW_PREVIEWHELPERS_H

#include <string>
#include <vector>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/preview/pictpreview.h"
#include "tests/preview/ForkBytes.h"
#include "tests/preview/Pixels.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

// The bytes of the picture in a preview's fork, whose first resource it is.
inline std::string PictureOf(const std::string& path) {
    const std::string fork = ForkBytes(path);
    if (fork.size() < 260) return "";
    std::size_t length = 0;
    for (std::size_t i = 256; i < 260; ++i)
        length = length << 8 | static_cast<unsigned char>(fork[i]);
    return fork.substr(260, length);
}

inline std::string Preview(const Scratch& scratch, const OwnedPix& image, draenv* mask = nullptr,
                           int resolution = 72) {
    const std::string path = scratch.Write("document", "data");
    filpictpreview(FileSpec(Wide(path)), image.get(), resolution, mask);
    return PictureOf(path);
}

struct Listed {
    std::vector<ResourceInfo> resources;
    OSErr code = noErr;
};

inline Listed List(const std::string& path) {
    Listed listed;
    HFSUniStr255 name;
    FSGetResourceForkName(&name);
    short file = 0;
    const FileSpec spec(Wide(path));
    listed.code = FSOpenResourceFile(spec, name.length, name.unicode, fsRdPerm, &file);
    if (listed.code != noErr) return listed;
    listed.code = ListResources(file, &listed.resources);
    CloseResFile(file);
    return listed;
}

inline std::string Types(const Listed& listed) {
    std::string types;
    for (const ResourceInfo& info : listed.resources) {
        for (int shift = 24; shift >= 0; shift -= 8)
            types += static_cast<char>(info.type >> shift & 255);
        types += " " + std::to_string(info.id) + " " + info.name + "; ";
    }
    return types;
}

}  // namespace Ondrel::Testing

#endif

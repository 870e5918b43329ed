// The preview of a document, read and written.
#ifndef TOOLS_ONDREL_PREVIEWACCESS_H
#define TOOLS_ONDREL_PREVIEWACCESS_H

#include <optional>
#include <string>

#include "tools/ondrel/Pixels.h"

namespace OndrelTool {

// The preview that a file's resource fork holds, halved until it is no higher than asked for.
// Nothing where it has none. Throws a Failure where it has one that cannot be drawn, or where its
// fork is damaged.
std::optional<Pixels> ReadPreview(const std::string& file, int mostHeight);

struct PreviewSize {
    int id;  // of the resource 'PICT'
    int width;
    int height;
};

// What the preview says of its size, without drawing it.
std::optional<PreviewSize> ReadPreviewSize(const std::string& file);

// Gives a file a preview and an icon; the resources that were in its fork are gone. A pixel of less
// than half alpha is left out. Throws a Failure where it is not stored, and the old fork is there
// then.
void WritePreview(const std::string& file, const Pixels& picture, int resolution);

}  // namespace OndrelTool

#endif

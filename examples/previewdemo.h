// A document gets a preview: what an application does after a save.
#ifndef EXAMPLES_PREVIEWDEMO_H
#define EXAMPLES_PREVIEWDEMO_H

#include <filesystem>
#include <string>
#include <vector>

namespace Example {

struct PreviewReport {
    int width = 0;  // of the picture that was used
    int height = 0;
    bool pictureIsDrawn = false;         // the picture could not be read: one was drawn
    bool holds = false;                  // the fork has the preview, its pointer and the icon
    std::vector<std::string> resources;  // what the fork holds, a line for each
};

// Makes a preview of a PNG or PPM picture, at most 1000 pixels wide and high, and gives it to the
// document, which must exist.
PreviewReport GivePreview(const std::filesystem::path& document,
                          const std::filesystem::path& picture);

}  // namespace Example

#endif

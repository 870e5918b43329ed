// The files that the demo works on: a picture and a text of the machine it runs on, in a scratch
// folder.
#ifndef EXAMPLES_DEMOFILES_H
#define EXAMPLES_DEMOFILES_H

#include <filesystem>
#include <string>

#include "ondrel/filref/filref.h"

namespace Example {

// A folder for the demo alone, gone with everything in it when the object goes, unless it is kept.
class ScratchFolder {
 public:
    explicit ScratchFolder(bool keep);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

 private:
    std::filesystem::path path_;
    bool keep_;
};

// Copies of a picture and a text in folders "Pictures" and "Texts" of `home`. They come from
// `folder` (the first fitting ones in it and its folders); where it holds no picture, one is drawn.
struct SourceFiles {
    std::filesystem::path picture;
    std::filesystem::path text;
    bool pictureIsDrawn = false;
};
SourceFiles GatherFiles(const std::filesystem::path& folder, const std::filesystem::path& home);

// The reference of a path, and the way back.
Ondrel::filref ReferenceTo(const std::filesystem::path& path);
std::filesystem::path PathOf(const Ondrel::filref& reference);

// The first bytes of a file, `most` of them at most, through the library's own streams; false when
// it cannot be read.
bool ReadFile(const Ondrel::filref& reference, std::string* bytes, int most);

}  // namespace Example

#endif

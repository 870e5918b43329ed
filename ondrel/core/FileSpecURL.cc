// A URL text.
#include "ondrel/core/FileSpec.h"

namespace Ondrel {

FileSpecURL::FileSpecURL() = default;
FileSpecURL::~FileSpecURL() = default;
FileSpecURL::FileSpecURL(const FileSpecURL& other) = default;
FileSpecURL& FileSpecURL::operator=(const FileSpecURL& other) = default;

FileSpecURL& FileSpecURL::operator=(const char* text) {
    text_ = text == nullptr ? "" : text;
    return *this;
}

void FileSpecURL::Clear() {
    text_.clear();
}

}  // namespace Ondrel

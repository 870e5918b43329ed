// Pictures as PNG files in memory. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_PNG_H
#define ONDREL_PLATFORM_PNG_H

#include <string>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Images.h"

namespace Ondrel {

// Appends a PNG file of the picture: 8 bits a channel, with alpha; the colours of a premultiplied
// picture are taken as they are. paramErr: the picture is not valid. memFullErr, with nothing
// appended.
OSErr AppendPng(const Image& image, std::string* png);

}  // namespace Ondrel

#endif

// Takes the installed fonts away while it lives, so that texts come out in the built-in font and
// their pixels are certain.
#ifndef TESTS_PLATFORM_QUICKDRAW_NOFONTS_H
#define TESTS_PLATFORM_QUICKDRAW_NOFONTS_H

#include <cstdlib>
#include <optional>
#include <string>

#include "ondrel/platform/quickdraw/Fonts.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

class NoFonts {
 public:
    NoFonts() {
        if (const char* const before = std::getenv(kVariable)) before_ = before;
        const std::string path =
            scratch_.Write("fonts.conf", "<?xml version=\"1.0\"?><fontconfig><cachedir>" +
                                             scratch_.Path("cache") + "</cachedir></fontconfig>");
        setenv(kVariable, path.c_str(), 1);
        QuickDraw::ForgetFonts();
    }
    ~NoFonts() {
        if (before_)
            setenv(kVariable, before_->c_str(), 1);
        else
            unsetenv(kVariable);
        QuickDraw::ForgetFonts();
    }
    NoFonts(const NoFonts&) = delete;
    NoFonts& operator=(const NoFonts&) = delete;

 private:
    static constexpr const char* kVariable = "FONTCONFIG_FILE";
    Scratch scratch_;
    std::optional<std::string> before_;
};

}  // namespace Ondrel::Testing

#endif

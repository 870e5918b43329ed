// Runs a test in a locale of a wanted encoding. Only the plain C locale and C.UTF-8 are everywhere;
// others are compiled into a scratch folder, and a test that needs one is skipped where the host
// cannot do that.
#ifndef TESTS_CORE_LOCALESCOPE_H
#define TESTS_CORE_LOCALESCOPE_H

#include <gtest/gtest.h>
#include <langinfo.h>
#include <stdlib.h>

#include <clocale>
#include <string>

#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

// Sets the locale while it lives; the plain C locale is back afterwards.
class LocaleScope {
 public:
    explicit LocaleScope(const char* name) : isSet_(std::setlocale(LC_ALL, name) != nullptr) {}

    // A locale made of the host's definition of `language` in an encoding.
    LocaleScope(const std::string& language, const std::string& encoding) {
        const std::string name = language + "." + encoding;
        const std::string command = "localedef -i " + language + " -f " + encoding + " '" +
                                    scratch_.Path(name) + "' >/dev/null 2>&1";
        (void)!system(command.c_str());
        setenv("LOCPATH", scratch_.Path().c_str(), 1);
        isSet_ = std::setlocale(LC_ALL, name.c_str()) != nullptr;
    }

    ~LocaleScope() {
        std::setlocale(LC_ALL, "C");
        unsetenv("LOCPATH");
    }
    LocaleScope(const LocaleScope&) = delete;
    LocaleScope& operator=(const LocaleScope&) = delete;

    bool IsSet() const { return isSet_; }
    std::string Encoding() const { return nl_langinfo(CODESET); }

 private:
    Scratch scratch_;
    bool isSet_ = false;
};

}  // namespace Ondrel::Testing

#endif

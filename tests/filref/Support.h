// What the tests of references share: 16-bit literals, captured messages, a mounted disk, and
// memory that runs out.
#ifndef TESTS_FILREF_SUPPORT_H
#define TESTS_FILREF_SUPPORT_H

#include <string>
#include <string_view>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/filref.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

Uni16String Units(std::u16string_view text);

// A reference whose storage holds exactly this text, whatever the converters would make of it.
filref Ref(std::string_view text);

// The text of a reference; "(null)" without storage.
std::string TextOf(const filref& ref);

// ToUnicode, as UTF-8.
std::string ToText(const filref& ref, int flags, filRefFormat format);

// n times the same text.
std::string Times(std::size_t n, std::string_view text);

// Takes the messages of `debug` while it is alive. One at a time.
class CapturedMessages {
 public:
    CapturedMessages();
    ~CapturedMessages();
    CapturedMessages(const CapturedMessages&) = delete;
    CapturedMessages& operator=(const CapturedMessages&) = delete;

    const std::vector<std::string>& All() const;
};

// A scratch folder that is mounted as the volume "Disk", with the folder "App" in it as the
// application folder.
class Disk : public Scratch {
 public:
    Disk();
    ~Disk();

    // Makes a symbolic link of that name.
    void Link(std::string_view name, std::string_view target) const;
    FileSpec Spec(std::string_view name) const;
};

// While it is alive, storage for references cannot be had.
class NoMemory {
 public:
    NoMemory();
    ~NoMemory();
    NoMemory(const NoMemory&) = delete;
    NoMemory& operator=(const NoMemory&) = delete;
};

}  // namespace Ondrel::Testing

#endif

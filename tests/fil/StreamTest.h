// The fixture of the stream tests: a scratch folder mounted as the volume "Test", references into
// it, and a way to see what a call raised or returned.
#ifndef TESTS_FIL_STREAMTEST_H
#define TESTS_FIL_STREAMTEST_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ondrel/core/Process.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/fil/fil.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

// What a call did: raised a value through its error context, or returned it.
struct Outcome {
    bool raised;
    int value;

    bool operator==(const Outcome& other) const = default;
};

inline Outcome Raised(int value) {
    return {true, value};
}
inline Outcome Returned(int value) {
    return {false, value};
}

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << (outcome.raised ? "raised " : "returned ") << outcome.value;
}

// Arms `e` and makes the call, a function of no arguments that answers an int.
template <class Call>
Outcome Try(errtyp& e, const Call& call) {
    switch (setjmp(e.context)) {
        case 0:
            return Returned(call());
        case -1:
            return Raised(-1);
        case -2:
            return Raised(-2);
        case -3:
            return Raised(-3);
        default:
            return Raised(-1000);
    }
}

class StreamTest : public ::testing::Test {
 protected:
    StreamTest() {
        MountVolume("Test", scratch_.Path().c_str());
        messages_.clear();
        previous_ = SetDebugHandler([](const char* message) { messages_.emplace_back(message); });
        lasterror = 0;
    }
    ~StreamTest() override {
        SetDebugHandler(previous_);
        UnmountVolume("Test");
    }

    // The reference Test:name; a folder separator in the name is a colon.
    static filref Ref(const std::string& name) {
        filref ref;
        ref.ConvertFromMacPath(("Test:" + name).c_str());
        return ref;
    }

    std::string Path(const std::string& name) const { return scratch_.Path(name); }
    std::string Contents(const std::string& name) const { return ReadAll(Path(name)); }

    // A file of `size` bytes that tell their positions.
    std::string WritePattern(const std::string& name, int size) const {
        std::string bytes(static_cast<std::size_t>(size), '\0');
        for (int i = 0; i < size; ++i)
            bytes[static_cast<std::size_t>(i)] = PatternAt(i);
        scratch_.Write(name, bytes);
        return bytes;
    }
    static char PatternAt(int position) {
        return static_cast<char>((position * 7 + position / 251) & 255);
    }
    static int PatternByte(int position) { return static_cast<unsigned char>(PatternAt(position)); }

    // Everything that debug() was given since the test began.
    static std::vector<std::string>& Messages() { return messages_; }

    Scratch scratch_;

 private:
    static inline std::vector<std::string> messages_;
    DebugHandler previous_ = nullptr;
};

inline const unsigned char* AsBytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace Ondrel::Testing

#endif

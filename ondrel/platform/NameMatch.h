// Names of items as a search compares them: one sought name with many names of a disk.
//
// Names are equal when they are canonically equivalent, so that composed and decomposed forms are
// one name; and, where case is folded, when they are after full Unicode case folding without a
// locale. A sought name is a Mac name, in which a '/' stands for the ':' of the host's; what cannot
// be a name, and what is not Unicode, equals nothing.
//
// A name of plain ASCII is decided byte by byte, and one that is not is decided so up to its first
// byte beyond ASCII: only where all before it is equal are the Unicode rules asked.
#ifndef ONDREL_PLATFORM_NAMEMATCH_H
#define ONDREL_PLATFORM_NAMEMATCH_H

#include <cstddef>
#include <string>
#include <string_view>

#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

class ONDREL_EXPORT SoughtName {
 public:
    enum class Case : unsigned char { kExact, kFolded };

    SoughtName(std::string_view macName, Case rule);                     // UTF-8
    SoughtName(const UniChar* macName, UniCharCount length, Case rule);  // UTF-16

    // False for what equals no name of any disk.
    bool IsName() const { return !key_.empty(); }

    bool Matches(std::string_view hostName) const {
        const std::size_t length = hostName.size();
        for (std::size_t i = 0; i < length; ++i) {
            char c = hostName[i];
            if (static_cast<unsigned char>(c) >= 0x80) return MatchesBeyondAscii(hostName);
            if (folds_ && c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
            if (i == key_.size() || c != key_[i]) return false;
        }
        return length != 0 && length == key_.size();
    }

 private:
    void SetKey(std::u16string name);
    bool MatchesBeyondAscii(std::string_view hostName) const;

    // The host's form of the name, decomposed and, where case is folded, folded, in UTF-8. ASCII
    // stands for itself in that form, whatever stands around it: this is what lets names be
    // compared with it byte by byte.
    std::string key_;
    std::u16string name_;  // the host's form, as it was given
    bool folds_;
};

// Whether a host's name is one of this library: valid UTF-8.
ONDREL_EXPORT bool IsUtf8Name(std::string_view hostName);

}  // namespace Ondrel

#endif

// A reference from a new name and a rule for its extension.
#include <cstring>

#include "ondrel/filref/folderpart.h"
#include "ondrel/filref/operations.h"
#include "ondrel/platform/Errors.h"

namespace Ondrel {
namespace {

// A text that grows up to a reference's size and is cut there.
class BoundedText {
 public:
    void Append(const char* text, std::size_t length) {
        const std::size_t room = sizeof bytes_ - 1 - length_;
        if (length > room) length = room;
        std::memcpy(bytes_ + length_, text, length);
        length_ += length;
    }
    void StoreIn(char* storage) const {
        std::memcpy(storage, bytes_, length_);
        storage[length_] = 0;
    }

 private:
    std::size_t length_ = 0;
    char bytes_[kFilrefSize];
};

// A rule: an extension, and what takes its place.
struct ExtensionRule {
    const char* extension;
    std::size_t extensionLength;
    const char* replacement;
    std::size_t replacementLength;
};

// ".bak+.txt rest": the extension ends at '+' or a blank, the replacement at a blank.
ExtensionRule ParseRule(const char* text) {
    ExtensionRule rule = {text, std::strcspn(text, "+ "), "", 0};
    const char* end = text + rule.extensionLength;
    if (*end == '+') {
        rule.replacement = end + 1;
        rule.replacementLength = std::strcspn(end + 1, " ");
    }
    return rule;
}

char LowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool Matches(const char* tail, const ExtensionRule& rule) {
    for (std::size_t i = 0; i < rule.extensionLength; ++i) {
        if (LowerAscii(tail[i]) != LowerAscii(rule.extension[i])) return false;
    }
    return tail[rule.extensionLength] == 0;
}

// Carries the old extensions over, one by one, until what is left of them is what the rule names.
void AppendExtensions(BoundedText& text, const char* oldExtension, const ExtensionRule& rule) {
    for (const char* tail = oldExtension; *tail != 0;) {
        if (Matches(tail, rule)) {
            text.Append(rule.replacement, rule.replacementLength);
            return;
        }
        const std::size_t length = 1 + std::strcspn(tail + 1, ".");
        text.Append(tail, length);
        tail += length;
    }
}

}  // namespace

int filrefnew(filref* out, const filref* folder, const char* name, const char* extension) {
    const char* oldText = out->path != nullptr ? out->path : "";
    const char* oldName = oldText + FolderPartLength(oldText);
    if (name == nullptr && oldName == oldText) return -1;
    const char* folderText = folder != nullptr && folder->path != nullptr ? folder->path : oldText;
    const char* base = name != nullptr ? name : oldName;
    const std::size_t oldBaseLength = std::strcspn(oldName, ".");

    BoundedText text;
    text.Append(folderText, FolderPartLength(folderText));
    text.Append(base, name != nullptr ? std::strlen(name) : oldBaseLength);
    if (extension != nullptr) AppendExtensions(text, oldName + oldBaseLength, ParseRule(extension));
    out->allocate();
    if (out->path == nullptr) {
        lasterror = memFullErr;
        return -1;
    }
    text.StoreIn(out->path);
    return 0;
}

}  // namespace Ondrel

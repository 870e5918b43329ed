// Documents of the walk's tests, and what a walk hands out as lines of text.
#ifndef TESTS_TOOLS_WALKSUPPORT_H
#define TESTS_TOOLS_WALKSUPPORT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Scratch.h"
#include "tools/ondrel/layout/Walk.h"

namespace OndrelTool::Testing {

// "position-end path bytes = meaning ! note" for each value, and "AT position path: what | message"
// for a fault, with "..." for the path of the document.
using Lines = std::vector<std::string>;

class WalkedDocument {
 public:
    // The bytes in hex.
    explicit WalkedDocument(std::string_view hex);

    const std::string& Path() const { return path_; }
    Lines Walk(std::string_view layout, const char* base = nullptr) const;

 private:
    Ondrel::Testing::Scratch scratch_;
    std::string path_;
};

// Walks a document of these bytes.
Lines Walked(std::string_view hex, std::string_view layout, const char* base = nullptr);

}  // namespace OndrelTool::Testing

#endif

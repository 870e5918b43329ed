// Documents with links for the tests, on a volume "Vol" that is a scratch folder.
#ifndef TESTS_TOOLS_LINKEDDOCUMENT_H
#define TESTS_TOOLS_LINKEDDOCUMENT_H

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Scratch.h"
#include "tools/ondrel/layout/Links.h"

namespace OndrelTool::Testing {

// Records, in bytes written out.
std::string Big16(std::size_t number);
std::string Big32(std::size_t number);
std::string AbsoluteRecord(std::string_view path);
std::string RelativeRecord(int shared, int up, std::string_view stored);

// A block with its length in front.
std::string Block16(const std::string& content);
std::string Block32(const std::string& content);

class LinkedDocuments {
 public:
    LinkedDocuments();
    ~LinkedDocuments();
    LinkedDocuments(const LinkedDocuments&) = delete;
    LinkedDocuments& operator=(const LinkedDocuments&) = delete;

    const Ondrel::Testing::Scratch& Folder() const { return scratch_; }
    Ondrel::FileSpec Spec(std::string_view name) const;

    // Names of what is in a folder, sorted.
    std::vector<std::string> NamesIn(std::string_view folder) const;

 private:
    Ondrel::Testing::Scratch scratch_;
};

Layout ParsedLayout(std::string_view text);

}  // namespace OndrelTool::Testing

#endif

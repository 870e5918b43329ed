// Reading the manifest of the corpus: a table of text columns between bars.
#include "tests/support/Corpus.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace Ondrel::Testing {
namespace {

constexpr std::size_t kNameColumn = 0;
constexpr std::size_t kKindColumn = 3;
constexpr std::size_t kContentColumn = 6;
constexpr std::size_t kSizeColumn = 8;
constexpr std::size_t kReferenceColumn = 9;
constexpr std::size_t kCertaintyColumn = 10;
constexpr std::size_t kRemarksColumn = 11;

std::vector<std::string> Columns(std::string_view line) {
    std::vector<std::string> columns;
    while (line.starts_with("| ")) {
        line.remove_prefix(2);
        const std::size_t end = std::min(line.find(" |"), line.size());
        columns.emplace_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return columns;
}

}  // namespace

std::string CorpusFolder() {
    const char* variable = std::getenv("ONDREL_CORPUS");
    const std::string folder = variable != nullptr ? variable : ONDREL_CORPUS;
    return std::filesystem::exists(folder + "/MANIFEST.md") ? folder : std::string();
}

std::vector<CorpusFile> CorpusFiles(std::string_view start) {
    std::vector<CorpusFile> files;
    const std::string folder = CorpusFolder();
    if (folder.empty()) return files;
    std::ifstream manifest(folder + "/MANIFEST.md");
    for (std::string line; std::getline(manifest, line);) {
        const std::vector<std::string> columns = Columns(line);
        if (columns.size() <= kRemarksColumn || !columns[kNameColumn].starts_with(start)) continue;
        const std::string& reference = columns[kReferenceColumn];
        files.push_back({columns[kNameColumn], folder + "/" + columns[kNameColumn],
                         columns[kKindColumn], columns[kContentColumn], columns[kSizeColumn],
                         reference == "-" ? std::string() : folder + "/" + reference,
                         columns[kCertaintyColumn], columns[kRemarksColumn]});
    }
    return files;
}

}  // namespace Ondrel::Testing

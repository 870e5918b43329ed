// Losing a linked file, finding it, and repairing the link in the document.
#include "examples/lostfile.h"

#include <algorithm>

#include "examples/demofiles.h"
#include "examples/document.h"
#include "ondrel/fil/fil.h"
#include "ondrel/search/search.h"

using namespace Ondrel;

namespace Example {
namespace {

namespace fs = std::filesystem;

// One name, as Linux programs store it and as a disk from a Mac does.
constexpr const char* kComposed = "Caf\xC3\xA9";
constexpr const char* kDecomposed = "Cafe\xCC\x81";

constexpr int kMostBytes = 4 << 20;

bool Save(const fs::path& place, const filref& target, std::string* message) {
    Document document;
    document.heading = "A document with one link";
    return SaveDocument(ReferenceTo(place), document, {target}, nullptr, message);
}

// The document's one link as it stands in the document; an empty one when it cannot be read.
filref ReadLink(const fs::path& place, std::string* message) {
    Document document;
    fil f;
    const int result = ReadDocument(&f, ReferenceTo(place), &document);
    if (result != 0) *message = GetFileErrorMessage(&f);
    f.Close();
    return result == 0 && document.links.size() == 1 ? document.links[0].absolute : filref();
}

bool HasContent(const filref& reference, const std::string& content) {
    std::string bytes;
    return ReadFile(reference, &bytes, kMostBytes) && bytes == content;
}

std::string TextOf(const filref& reference) {
    return reference.path != nullptr ? reference.path : "";
}

}  // namespace

LostFileReport LoseAndFind(const fs::path& home, const fs::path& original) {
    LostFileReport report;
    const std::string ending = original.extension().string();
    const fs::path place = home / "Menu.ondoc";
    const fs::path file = home / (kComposed + ending);
    fs::create_directories(home);
    fs::copy_file(original, file, fs::copy_options::overwrite_existing);
    std::string content;
    ReadFile(ReferenceTo(file), &content, kMostBytes);
    if (!Save(place, ReferenceTo(file), &report.message)) return report;

    report.hidden = home / "Archive" / "Old" / (kDecomposed + ending);
    fs::create_directories(report.hidden.parent_path());
    fs::rename(file, report.hidden);

    filref link = ReadLink(place, &report.message);
    report.linked = TextOf(link);
    report.wasLost = !filexist(link);
    SearchVolume(link, [&](const std::string& path) {
        report.onVolume.push_back(path);
        return 0;
    });
    report.wasFound = filsea(link, 0, true) == 1;
    if (!report.wasFound || !Save(place, link, &report.message)) return report;

    const filref repaired = ReadLink(place, &report.message);
    report.repaired = TextOf(repaired);
    const auto& all = report.onVolume;
    report.holds = report.wasLost && HasContent(repaired, content) &&
                   PathOf(repaired).parent_path() == report.hidden.parent_path() &&
                   std::find(all.begin(), all.end(), report.hidden.string()) != all.end();
    return report;
}

}  // namespace Example

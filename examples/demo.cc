// demo [--keep] [FOLDER]: the main job of the library on real files. A document is written that
// links to a picture and a text of the folder; its stored bytes are shown; it gets a preview;
// document and files move to another folder, where the links are followed; and files that are
// missing, cut or closed to us are met. Exits with 1 when anything did not hold.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "examples/demofiles.h"
#include "examples/document.h"
#include "examples/lostfile.h"
#include "examples/previewdemo.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/fil/fil.h"

using namespace Ondrel;
using namespace Example;
namespace fs = std::filesystem;

namespace {

constexpr const char* kVolume = "Desk";
constexpr const char* kDocument = "Project/Report.ondoc";
constexpr int kMostThumbnail = 65535;
constexpr int kMostText = 1 << 20;
constexpr uid_t kNobody = 65534;

// --- The report ---------------------------------------------------------------------------------

int failures = 0;

void Title(const char* text) {
    std::printf("\n%s\n", text);
}

// One line of the report, and whether what it says held.
void Check(bool held, const std::string& what) {
    std::printf("  %s  %s\n", held ? "ok    " : "FAILED", what.c_str());
    if (!held) ++failures;
}

// --- Writing ------------------------------------------------------------------------------------

Document MakeDocument(const SourceFiles& files) {
    Document document;
    document.heading = "Report about two files";
    document.author = "The demo";
    document.remark = "This line ends as other systems end theirs";
    document.note = std::string("Any bytes: \x01\x02\x00\x03", 15);
    document.title = UTF8ToUni16String("R\xC3\xA9sum\xC3\xA9");
    ReadFile(ReferenceTo(files.text), &document.text, kMostText);
    ReadFile(ReferenceTo(files.picture), &document.thumbnail, kMostThumbnail);
    return document;
}

std::size_t ItemsIn(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

// Saves twice: the second save has an old document to replace.
std::vector<Stretch> Save(const fs::path& path, const Document& document,
                          const SourceFiles& files) {
    const std::vector<filref> targets = {ReferenceTo(files.picture), ReferenceTo(files.text)};
    std::string message;
    if (!SaveDocument(ReferenceTo(path), document, targets, nullptr, &message)) {
        Check(false, "saved: " + message);
        return {};
    }
    Check(true, "saved: " + path.filename().string() + ", " + std::to_string(fs::file_size(path)) +
                    " bytes");

    const auto permission = fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read;
    fs::permissions(path, permission);
    const std::size_t items = ItemsIn(path.parent_path());
    std::vector<Stretch> stretches;
    const bool saved = SaveDocument(ReferenceTo(path), document, targets, &stretches, &message);
    Check(saved, "saved again through a temporary file" + (saved ? "" : ": " + message));
    Check(fs::status(path).permissions() == permission && ItemsIn(path.parent_path()) == items,
          "the document kept its permission, and nothing is left beside it");
    return stretches;
}

// --- The stored bytes ---------------------------------------------------------------------------

// A field of a record; 0 bytes are the rest of it.
struct Field {
    int size;
    const char* meaning;
};
struct Layout {
    const char* name;
    std::vector<Field> fields;
};

const Layout& LayoutOf(Kind kind) {
    static const Layout kLine = {"line", {{0, "the text and its line feed"}}};
    static const Layout kNul = {"string with NUL", {{0, "the text and its NUL"}}};
    static const Layout kCrLf = {"line of any ending", {{0, "the text, here with CR LF"}}};
    static const Layout kCounted = {"counted string", {{4, "length"}, {0, "the bytes"}}};
    static const Layout kUnicode = {"counted Unicode string",
                                    {{4, "length of the UTF-8 form"}, {0, "the UTF-8 form"}}};
    static const Layout kLong = {"block with a 32-bit length",
                                 {{4, "length"}, {0, "the linked text"}}};
    static const Layout kShort = {"block with a 16-bit length",
                                  {{2, "length"}, {0, "the linked picture's first bytes"}}};
    static const Layout kAbsolute = {"absolute link",
                                     {{1, "kind: an absolute reference"},
                                      {2, "length of the path with its NUL"},
                                      {0, "the path"}}};
    static const std::vector<Field> kRelative = {{1, "kind: a relative reference"},
                                                 {2, "leading components to skip"},
                                                 {2, "the document's components behind them"},
                                                 {2, "length of the path with its NUL"}};
    static const Layout kFull = [] {
        Layout layout{"relative link, full form", kRelative};
        layout.fields.push_back({0, "the full path"});
        return layout;
    }();
    static const Layout kTail = [] {
        Layout layout{"relative link, relative-only form", kRelative};
        layout.fields.push_back({0, "the path from the common folder on"});
        return layout;
    }();
    switch (kind) {
        case Kind::kLine:
            return kLine;
        case Kind::kNul:
            return kNul;
        case Kind::kCrLf:
            return kCrLf;
        case Kind::kCounted:
            return kCounted;
        case Kind::kUnicode:
            return kUnicode;
        case Kind::kLong:
            return kLong;
        case Kind::kShort:
            return kShort;
        case Kind::kAbsolute:
            return kAbsolute;
        case Kind::kFull:
            return kFull;
        case Kind::kTail:
            break;
    }
    return kTail;
}

// The first bytes of a field in hex and as text: "00 05 ...   ..".
void ShowField(fil* f, int size, const char* meaning) {
    constexpr int kShown = 12;
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    std::string text;
    for (int i = 0; i < size && i < kShown; ++i) {
        const int byte = filrea8(f);
        if (byte < 0) break;
        hex += {kDigits[byte >> 4], kDigits[byte & 15], ' '};
        text += byte >= 32 && byte < 127 ? static_cast<char>(byte) : '.';
    }
    const bool cut = size > kShown;
    std::printf("    %-39s  %-15s %s%s\n", (hex + (cut ? "..." : "")).c_str(),
                size > 4 ? text.c_str() : "", meaning,
                cut ? (" (" + std::to_string(size) + " bytes)").c_str() : "");
}

// One record of each kind, as a reader of the file meets it.
void ShowBytes(const fs::path& path, const std::vector<Stretch>& stretches) {
    Title("What is stored, one record of each kind");
    fil f;
    if (filope(&f, nullptr, ReferenceTo(path)) != 0) return Check(false, "the document opens");
    std::size_t shown = 0;
    for (const Stretch& stretch : stretches) {
        if (static_cast<std::size_t>(stretch.kind) != shown) continue;
        ++shown;
        const Layout& layout = LayoutOf(stretch.kind);
        std::printf("  at %d: %s\n", stretch.begin, layout.name);
        int at = stretch.begin;
        for (const Field& field : layout.fields) {
            const int size = field.size > 0 ? field.size : stretch.end - at;
            filpos(&f, at);
            ShowField(&f, size, field.meaning);
            at += size;
        }
    }
    Check(shown == 10, "every kind of record is in the document");
}

// --- The preview --------------------------------------------------------------------------------

// What an application does after a save; a later save keeps it.
void Preview(const fs::path& path, const Document& document, const SourceFiles& files) {
    Title("A preview in the document's resource fork, and an icon made of it");
    const PreviewReport report = GivePreview(path, files.picture);
    std::printf("  %d x %d pixels%s\n", report.width, report.height,
                report.pictureIsDrawn ? " (drawn: the picture is no PNG or PPM)" : "");
    for (const std::string& resource : report.resources)
        std::printf("    %s\n", resource.c_str());
    Check(report.holds, "the fork holds the picture, the pointer to it and the icon");

    const fs::path sidecar = path.parent_path() / ("._" + path.filename().string());
    const std::uintmax_t size = fs::exists(sidecar) ? fs::file_size(sidecar) : 0;
    const std::vector<filref> targets = {ReferenceTo(files.picture), ReferenceTo(files.text)};
    std::string message;
    const bool saved = SaveDocument(ReferenceTo(path), document, targets, nullptr, &message);
    Check(saved && size > 0 && fs::file_size(sidecar) == size,
          "saved again: the preview stayed with the document" + (saved ? "" : ": " + message));
}

// --- Moving, and following the links ------------------------------------------------------------

bool SameContent(const filref& a, const filref& b) {
    std::string first;
    std::string second;
    return ReadFile(a, &first, 1 << 30) && ReadFile(b, &second, 1 << 30) && first == second;
}

bool IsInside(const filref& reference, const fs::path& folder) {
    return PathOf(reference).string().starts_with(folder.string() + "/");
}

// Follows one rebuilt link. It holds when it leads into `home` and to the content of `original`.
void Follow(const char* form, const filref& link, const filref& original, const fs::path& home) {
    const bool holds = IsInside(link, home) && SameContent(link, original);
    Check(holds, std::string(form) + " " + (link.path != nullptr ? link.path : "(none)") +
                     (holds ? ": exists, same content" : ": does not lead to the file"));
}

void CheckContent(const Document& read, const Document& written) {
    Check(read.heading == written.heading && read.author == written.author &&
              read.remark == written.remark && read.note == written.note &&
              read.title == written.title,
          "its strings are as they were written");
    Check(read.text == written.text && read.thumbnail == written.thumbnail,
          "its blocks are as they were written");
}

// What is opened here has moved from `before` to `after`, files and all; a copy of the files as
// they were lies in `originals`.
void FollowLinks(const Document& written, const SourceFiles& originals, const fs::path& before,
                 const fs::path& after) {
    Title("Moved to another folder and opened there");
    Document document;
    fil f;
    const int result = ReadDocument(&f, ReferenceTo(after / kDocument), &document);
    if (result != 0) std::printf("  %s\n", GetFileErrorMessage(&f).c_str());
    f.Close();
    Check(result == 0 && document.links.size() == 2, "the document opens with its two links");
    CheckContent(document, written);
    const filref targets[] = {ReferenceTo(originals.picture), ReferenceTo(originals.text)};
    for (std::size_t i = 0; i < document.links.size(); ++i) {
        const Link& link = document.links[i];
        Follow("full relative   ", link.full, targets[i], after);
        Follow("relative only   ", link.tail, targets[i], after);
        Follow("absolute        ", link.absolute, targets[i], before);
    }
}

// The files that the absolute links name are taken away: now only the relative forms lead on.
void FollowLinksAlone(const SourceFiles& originals, const fs::path& before, const fs::path& after) {
    Title("The same with the old folder gone");
    fs::remove_all(before);
    Document document;
    fil f;
    Check(ReadDocument(&f, ReferenceTo(after / kDocument), &document) == 0, "the document opens");
    f.Close();
    const filref targets[] = {ReferenceTo(originals.picture), ReferenceTo(originals.text)};
    for (std::size_t i = 0; i < document.links.size() && i < 2; ++i) {
        const Link& link = document.links[i];
        Follow("full relative   ", link.full, targets[i], after);
        Follow("relative only   ", link.tail, targets[i], after);
        Check(!filexist(link.absolute), std::string("absolute         ") + link.absolute.path +
                                            ": leads nowhere, as it must");
    }
}

// --- Lost and found -----------------------------------------------------------------------------

void LoseFile(const fs::path& home, const fs::path& original) {
    Title("A linked file is lost, and found again");
    const LostFileReport report = LoseAndFind(home, original);
    if (!report.message.empty()) std::printf("  %s\n", report.message.c_str());
    std::printf("  linked:   %s\n", report.linked.c_str());
    std::printf("  moved to: %s, its accent stored apart\n", report.hidden.c_str());
    Check(report.wasLost, "the link leads nowhere then");
    Check(report.wasFound, "found below the link's folder");
    Check(report.holds, "repaired: " + report.repaired + ", same content");
    Check(report.onVolume.size() == 1,
          "the search of the whole volume finds " + std::to_string(report.onVolume.size()));
}

// --- What goes wrong ----------------------------------------------------------------------------

// Opens what cannot be opened; answers the library's message.
std::string MessageOf(const fs::path& path, int* result) {
    Document document;
    fil f;
    *result = ReadDocument(&f, ReferenceTo(path), &document);
    // A file that is not there leaves no stream behind that could tell.
    if (*result == fnfErr) lasterror = fnfErr;
    std::string message = GetFileErrorMessage(f.sys != nullptr ? &f : nullptr);
    f.Close();
    return message;
}

void Meet(const char* what, const fs::path& path, std::string_view expected) {
    int result = 0;
    const std::string message = MessageOf(path, &result);
    Check(result < 0 && message.starts_with(expected), std::string(what) + ": " + message);
}

// Every length that cuts a link in two: each time the end of the file is what is told.
void MeetEveryCut(const fs::path& whole, const fs::path& cut,
                  const std::vector<Stretch>& stretches) {
    int tried = 0;
    int told = 0;
    for (const Stretch& stretch : stretches) {
        if (stretch.kind < Kind::kAbsolute) continue;
        for (int size = stretch.begin; size < stretch.end; ++size) {
            fs::copy_file(whole, cut, fs::copy_options::overwrite_existing);
            fs::resize_file(cut, static_cast<std::uintmax_t>(size));
            int result = 0;
            ++tried;
            if (MessageOf(cut, &result).starts_with("Unexpected end of file error") && result == -3)
                ++told;
        }
    }
    Check(tried > 0 && tried == told,
          "cut at each of " + std::to_string(tried) + " places inside a link: told each time");
}

// Permission does not stop root: then another user tries, in a process of its own.
void MeetLocked(const fs::path& path) {
    fs::permissions(path, fs::perms::none);
    constexpr std::string_view kExpected = "Error #-54 while opening file";
    if (geteuid() != 0) return Meet("not readable", path, kExpected);
    std::printf("  (root may read everything: the next line is what user %u meets)\n", kNobody);
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        if (setresgid(kNobody, kNobody, kNobody) != 0 || setresuid(kNobody, kNobody, kNobody) != 0)
            _exit(2);
        failures = 0;
        Meet("not readable", path, kExpected);
        std::fflush(stdout);
        _exit(failures);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) == 2)
        return Check(false, "not readable: this could not be tried");
    failures += WEXITSTATUS(status);
}

void MeetTrouble(const fs::path& home, const std::vector<Stretch>& stretches) {
    Title("What the user is told when a file is not as it should be");
    const fs::path whole = home / kDocument;
    Meet("missing", home / "Project" / "Gone.ondoc", "File not found error (#-43)");
    Meet("a folder", home / "Project", "File not found error (#-43) while opening file");

    const fs::path cut = home / "Project" / "Cut.ondoc";
    fs::copy_file(whole, cut);
    fs::resize_file(cut, static_cast<std::uintmax_t>(stretches.back().end - 5));
    Meet("cut", cut, "Unexpected end of file error (#-39) while reading file");
    MeetEveryCut(whole, cut, stretches);

    const fs::path locked = home / "Project" / "Locked.ondoc";
    fs::copy_file(whole, locked);
    MeetLocked(locked);
}

// --- The whole ----------------------------------------------------------------------------------

void Run(const fs::path& folder, bool keep) {
    const ScratchFolder scratch(keep);
    // Others may look in, so that another user's view can be shown.
    umask(022);
    fs::permissions(scratch.Path(), fs::perms(0755));
    MountVolume(kVolume, scratch.Path().c_str());
    RegisterDocumentType();

    Title("Two files of this machine and a document that links to them");
    const fs::path before = scratch.Path() / "Before";
    const fs::path after = scratch.Path() / "After" / "Deeper";
    const SourceFiles files = GatherFiles(folder, before);
    const SourceFiles originals = GatherFiles(folder, scratch.Path() / "Originals");
    fs::create_directories(before / "Project");
    std::printf("  %s is the volume \"%s\"\n", scratch.Path().c_str(), kVolume);
    std::printf("  picture: %s%s\n", ReferenceTo(files.picture).path,
                files.pictureIsDrawn ? " (drawn: the folder holds none)" : "");
    std::printf("  text:    %s\n", ReferenceTo(files.text).path);
    const Document document = MakeDocument(files);
    const std::vector<Stretch> stretches = Save(before / kDocument, document, files);
    if (failures > 0) return;

    ShowBytes(before / kDocument, stretches);
    Preview(before / kDocument, document, files);

    fs::create_directories(after.parent_path());
    fs::copy(before, after, fs::copy_options::recursive);
    Check(fileHasType(FileSpec(UTF8ToUni16String((after / kDocument).string())), kDocumentType,
                      false),
          "copied; the type codes came along");
    FollowLinks(document, originals, before, after);
    FollowLinksAlone(originals, before, after);
    LoseFile(scratch.Path() / "Lost", originals.text);
    MeetTrouble(after, stretches);
}

}  // namespace

int main(int argc, char** argv) {
    bool keep = false;
    fs::path folder = ".";
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--keep") == 0) {
            keep = true;
        } else if (argv[i][0] == '-') {
            std::fprintf(stderr, "usage: demo [--keep] [FOLDER]\n");
            return 2;
        } else {
            folder = argv[i];
        }
    }
    try {
        Run(folder, keep);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    if (failures > 0)
        std::printf("\n%d things did not hold.\n", failures);
    else
        std::printf("\nEverything held.\n");
    return failures > 0 ? 1 : 0;
}

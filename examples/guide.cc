// The program of docs/guide.md, "From opening a document to repairing its links", which shows the
// parts between its marks. Run as `guide FOLDER`, it does in that folder what the guide tells:
// writes a document with a link, moves the linked file away, opens the document, finds the file
// again, and saves the document with the link repaired.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileType.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/fil/fil.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/filref/filref.h"
#include "ondrel/filref/operations.h"
#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"
#include "ondrel/search/search.h"

using namespace Ondrel;

// guide: document
struct Letter {
    std::string title;
    std::vector<filref> pictures;
};
// guide end

// guide: reference
filref ReferenceTo(const std::string& path) {
    filref reference;
    reference.convertFromFileSpec(FileSpec(UTF8ToUni16String(path)));
    return reference;
}
// guide end

// guide: type
constexpr unsigned int kLetter = 1;

void RegisterLetters() {
    RegisterFileType({kLetter, MakeFourCC("Lttr"), MakeFourCC("LetD"), ".letter"});
}
// guide end

// guide: write
int WriteLetter(fil* f, const filref& place, const Letter& letter) {
    errtyp e;
    if (const int code = setjmp(e.context)) {
        filerr(f, nullptr);  // the context goes with this frame
        return code;
    }
    if (const int code = filsavtem(f, &e, &place, kLetter, nullptr)) return code;
    filwri(f, reinterpret_cast<const unsigned char*>("LETT"), 4);
    filwristring(f, letter.title);
    filwri16(f, static_cast<int>(letter.pictures.size()));
    for (const filref& picture : letter.pictures) {
        const int block = filwripos(f);
        filwrirefrel(f, place, picture, 1);
        filwrilen(f, block);
    }
    const int code = filflu(f);
    filerr(f, nullptr);
    return code;
}
// guide end

// guide: save
bool SaveLetter(const filref& place, const Letter& letter, std::string* message) {
    fil f;
    const int written = WriteLetter(&f, place, letter);
    if (written != 0) *message = GetFileErrorMessage(&f);
    FileSpec temporary;
    f.GetFileSpec(temporary);
    const int closed = f.Close();

    FileSpec document;
    FileSpecFunctions functions;
    place.convertToFileSpec(document);
    if (written == 0 && closed == 0 && functions.ReplaceFile(temporary, document)) return true;
    if (written == 0) {
        if (closed == 0) lasterror = functions.errorCode;
        *message = GetFileErrorMessage(nullptr);
    }
    functions.DeleteFile(temporary, false);
    return false;
}
// guide end

// guide: read
int ReadLetter(fil* f, const filref& place, Letter* letter) {
    errtyp e;
    if (const int code = setjmp(e.context)) {
        filerr(f, nullptr);
        return code;
    }
    if (const int code = filope(f, &e, place)) return code;
    unsigned char magic[4];
    filrea(f, magic, 4);
    letter->title = filreastring(f);
    const int count = filrea16(f);
    for (int i = 0; i < count; ++i) {
        const int end = filreapos(f);
        filref& picture = letter->pictures.emplace_back();
        if (const int code = filrearefrel(f, place, picture, nullptr)) errgoto(&e, code);
        filpos(f, end);  // what a later version may have written behind the link
    }
    filerr(f, nullptr);
    return 0;
}
// guide end

// guide: find
bool FindAgain(filref* link, const filref& folder) {
    filref candidate;
    if (filrefnew(&candidate, &folder, link->getNameAsUtf8(filRefMac).c_str(), true) != 0)
        return false;
    if (filsea(candidate, 0, true) != 1) return false;
    *link = candidate;
    return true;
}
// guide end

// guide: repair
int RepairLinks(const filref& place, const filref& folder) {
    Letter letter;
    fil f;
    if (ReadLetter(&f, place, &letter) != 0) {
        std::printf("%s\n", GetFileErrorMessage(f.sys != nullptr ? &f : nullptr).c_str());
        return -1;
    }
    f.Close();

    int repaired = 0;
    for (filref& picture : letter.pictures) {
        if (filexist(picture)) continue;
        std::printf("%s leads nowhere\n", picture.path);
        if (!FindAgain(&picture, folder)) return -1;
        std::printf("found again: %s\n", picture.path);
        ++repaired;
    }
    std::string message;
    if (repaired > 0 && !SaveLetter(place, letter, &message)) {
        std::printf("%s\n", message.c_str());
        return -1;
    }
    return repaired;
}
// guide end

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: guide FOLDER\n");
        return 2;
    }
    namespace fs = std::filesystem;
    const fs::path folder = fs::absolute(argv[1]);
    MountVolume("Guide", folder.c_str());
    RegisterLetters();
    fs::create_directories(folder / "Letters");
    fs::create_directories(folder / "Pictures");
    std::ofstream(folder / "Pictures" / "harbour.png") << "a picture";

    const filref place = ReferenceTo((folder / "Letters" / "June.letter").string());
    Letter letter;
    letter.title = "From the harbour";
    letter.pictures.push_back(ReferenceTo((folder / "Pictures" / "harbour.png").string()));
    std::string message;
    if (!SaveLetter(place, letter, &message)) {
        std::printf("%s\n", message.c_str());
        return 1;
    }

    fs::create_directories(folder / "Archive" / "2026");
    fs::rename(folder / "Pictures" / "harbour.png", folder / "Archive" / "2026" / "harbour.png");
    const filref archive = ReferenceTo((folder / "Archive").string());
    if (RepairLinks(place, archive) != 1) return 1;
    return RepairLinks(place, archive) == 0 ? 0 : 1;  // nothing is lost any more
}

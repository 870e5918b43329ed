// Whichever call fails of what looks for files and looks at them: searches, walks over a folder,
// aliases, volumes, and the preview of a document. Nothing of it changes a folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "ondrel/core/FileEnumeration.h"
#include "ondrel/platform/Alias.h"
#include "ondrel/platform/MountDiscovery.h"
#include "ondrel/preview/previewreader.h"
#include "ondrel/search/search.h"
#include "tests/core/SpecHelpers.h"
#include "tests/faults/DocumentSteps.h"
#include "tests/faults/StreamSteps.h"
#include "tests/platform/AliasRecords.h"

namespace Ondrel::Testing {
namespace {

// --- Folders to begin with ----------------------------------------------------------------------

void Tree(const Scratch& scratch) {
    scratch.Write("a/b/doc", "lost");
    scratch.Write("a/other", "");
    scratch.Write("c/another", "");
}

void TreeWithTwo(const Scratch& scratch) {
    Tree(scratch);
    scratch.Write("c/doc", "another lost one");
}

void AliasOfADocument(const Scratch& scratch) {
    constexpr std::uint32_t kElsewhere = 99;
    scratch.Write("folder/target", "text");
    MakeAliasFile(scratch.Write("alias", ""),
                  AliasVersion2("Test", "target", kElsewhere, Part(18, "/folder/target")));
}

void DocumentWithPreview(const Scratch& scratch) {
    Answer ignored;
    OneFile(scratch);
    WritePreview(scratch, &ignored);
}

// --- What is done -------------------------------------------------------------------------------

void SearchBelow(const Scratch&, Answer* answer) {
    filref ref = RefTo("doc");
    answer->succeeded = filsea(ref, 0, true) == 1;
    answer->code = kNoCode;
    if (answer->succeeded) answer->content = ref.path;
}

void SearchWithCallback(const Scratch&, Answer* answer) {
    filref ref = RefTo("doc");
    std::vector<std::string> seen;
    seen.reserve(16);
    const auto callback = [&](const FileSpec*, const std::string& name) {
        seen.push_back(name);
        return 1;
    };
    answer->succeeded = filsea(ref, nullptr, 0, true, callback) == 1;
    answer->code = kNoCode;
    if (answer->succeeded) answer->content = ref.path;
}

// A folder that may not be read is passed over: only then fewer are found.
void SearchTheVolume(const Scratch&, Answer* answer) {
    filref ref = RefTo("doc");
    std::vector<std::string> found;
    found.reserve(16);
    const int result = SearchVolume(ref, [&](const std::string& path) {
        found.push_back(path);
        return 0;
    });
    answer->succeeded = result == 0 && found.size() == 2;
    answer->code = static_cast<OSErr>(result);
    if (result == 0) answer->code = permErr;
    if (result == -2) answer->code = kNoCode;
    std::sort(found.begin(), found.end());
    if (answer->succeeded) answer->content = found[0] + " " + found[1];
}

void WalkOverAFolder(const Scratch& scratch, Answer* answer) {
    FileEnumeration items(SpecOf(scratch.Path("a")));
    std::vector<std::string> names;
    names.reserve(16);
    for (bool more = items.First(); more; more = items.Next())
        names.push_back(NameOf(items.GetItemSpecification()));
    std::sort(names.begin(), names.end());
    answer->succeeded = names.size() == 2;
    answer->code = kNoCode;
    if (answer->succeeded) answer->content = names[0] + " " + names[1];
}

// A sidecar that may not be read makes no alias of its file.
void FollowAnAlias(const Scratch& scratch, Answer* answer) {
    bool isFolder = true;
    bool wasAliased = false;
    TellCode(
        Host::ResolveAlias(scratch.Path("alias"), true, &answer->content, &isFolder, &wasAliased),
        answer);
    if (!answer->succeeded || wasAliased) return;
    EXPECT_EQ(answer->content, scratch.Path("alias"));
    answer->succeeded = false;
    answer->code = permErr;
}

void ListVolumes(const Scratch&, Answer* answer) {
    std::vector<Host::Mount> volumes;
    answer->succeeded = Host::DiscoverVolumes("Root", &volumes);
    answer->code = kNoCode;
}

// Without memory to tell them apart, covered pixels differ in their first byte only.
std::string ColoursOf(const drapix& map) {
    std::string colours;
    const auto* row = reinterpret_cast<const char*>(map.base);
    for (int y = 0; y < map.height; ++y, row += map.rowBytes) {
        const char* pixel = row;
        for (int x = 0; x < map.width; ++x, pixel += 4)
            colours.append(pixel + 1, 3);
    }
    return colours;
}

void ReadPreview(const Scratch&, Answer* answer) {
    fil f;
    Tell(&f, filope(&f, nullptr, RefTo("doc")), answer);
    if (answer->succeeded) {
        drapix* read = nullptr;
        ReadPreviewFromPictResource(&f, &read, 1, 100, 0);
        const OwnedPix map(read);
        answer->succeeded = map != nullptr;
        answer->code = f.sys->error != noErr ? f.sys->error : kNoCode;
        if (answer->succeeded) answer->content = ColoursOf(*map);
    }
    CloseAndTell(&f, answer);
}

// --- The table ----------------------------------------------------------------------------------

// What cannot be looked at is passed over; what was looked for is then not found.
const std::vector<OSErr> kNotFound = {kNoCode};

const Operation kOperations[] = {
    {"search a folder and those below", Leaves::kNothing, Tree, SearchBelow, kNotFound},
    {"search with a callback", Leaves::kNothing, Tree, SearchWithCallback, kNotFound},
    {"search the volume", Leaves::kNothing, TreeWithTwo, SearchTheVolume, {fnfErr, kNoCode}},
    {"walk over a folder", Leaves::kNothing, Tree, WalkOverAFolder, kNotFound},
    {"follow an alias", Leaves::kNothing, AliasOfADocument, FollowAnAlias, {fnfErr}},
    {"list the volumes", Leaves::kNothing, NothingThere, ListVolumes, kNotFound},
    // The code is that of the last resource asked for.
    {"read a preview",
     Leaves::kNothing,
     DocumentWithPreview,
     ReadPreview,
     {fnfErr, resFNotFound, resNotFound, mapReadErr, kNoCode}},
};

class FindingFaults : public ::testing::TestWithParam<Operation> {
 protected:
    FindingFaults() {
        RegisterFileType(DocumentType());
        (void)ThePicture();
    }

 private:
    const InMemory inMemory_;
};

TEST_P(FindingFaults, EveryCallFailsOnceAndNothingWrongIsFound) {
    FailEachCall(GetParam());
}

TEST_P(FindingFaults, EveryTransferFallsShortOnceAndTheSameIsFound) {
    CutEachTransfer(GetParam());
}

TEST_P(FindingFaults, EveryRequestForMemoryIsRefusedOnceAndNothingWrongIsFound) {
    RefuseEachAllocation(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Every, FindingFaults, ::testing::ValuesIn(kOperations), NameOfOperation);

}  // namespace
}  // namespace Ondrel::Testing

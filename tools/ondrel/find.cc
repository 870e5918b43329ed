// ondrel find REFERENCE: looks for a file that is no longer where a reference says.
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "ondrel/core/FileType.h"
#include "ondrel/fil/fil.h"
#include "ondrel/platform/FolderTree.h"
#include "ondrel/platform/NameMatch.h"
#include "ondrel/search/search.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/PathForms.h"
#include "tools/ondrel/Progress.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Terminal.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

using namespace Ondrel;

struct Options {
    std::string reference;
    std::optional<std::string> from;
    std::vector<std::string> types;
    bool deep = false;
    bool volume = false;
    bool first = false;
    bool json = false;
};

constexpr unsigned kFirstTypeId = 1;

// --- What is found ------------------------------------------------------------------------------

// Matches, printed as they come; gathered where JSON is wanted.
class Matches {
 public:
    Matches(const Options& options, std::vector<unsigned> types)
        : options_(options), types_(std::move(types)) {}

    // Takes an item of the right name; false where the search is to stop.
    bool Take(const std::string& path) {
        if (!HasType(path)) return true;
        ++count_;
        if (options_.json) {
            list_.push_back(ValidUtf8(path));
        } else {
            HideProgress();
            PrintLine(IsOutputTerminal() ? Printable(path) : path);
        }
        return !options_.first;
    }

    Status Finish() const {
        if (options_.json) PrintJson(list_);
        if (count_ > 0) return Status::kDone;
        Complain(options_.reference, "was not found");
        return Status::kNothing;
    }

    bool IsEmpty() const { return count_ == 0; }
    const std::vector<unsigned>& Types() const { return types_; }

 private:
    // As the library's searches have it: folders pass, and so does what has no type that is known.
    bool HasType(const std::string& path) const {
        if (types_.empty()) return true;
        const FileSpec item(UTF8ToUni16String(path));
        if (item.IsFolder()) return true;
        for (const unsigned type : types_)
            if (fileHasType(item, type, false)) return true;
        return false;
    }

    const Options& options_;
    std::vector<unsigned> types_;
    std::size_t count_ = 0;
    Json list_ = Json::array();
};

// ".txt" is an extension, all else a type code.
std::vector<unsigned> RegisterTypes(const std::vector<std::string>& texts) {
    std::vector<unsigned> types;
    for (const std::string& text : texts) {
        FileType type;
        type.identifier = kFirstTypeId + static_cast<unsigned>(types.size());
        if (text.starts_with('.')) {
            type.extension = text;
        } else {
            const auto code = ParseCode(text);
            if (!code)
                FailUsage(fmt::format("--type takes a code or an extension, not '{}'", text));
            type.type = *code;
        }
        RegisterFileType(type);
        types.push_back(type.identifier);
    }
    return types;
}

// --- The searches -------------------------------------------------------------------------------

std::string FolderOf(const filref& reference) {
    FileSpec spec;
    std::string path;
    if (reference.convertToFileSpec(spec) != 0) return {};
    spec.ToEnclosingFolderOfFile();
    return spec.GetFullPath(path) ? path : std::string();
}

// Takes the items of the present folder that bear the name, and goes back to its start; false where
// the search is to stop.
bool TakeItems(FolderTree* tree, const SoughtName& name, Matches* matches) {
    const std::string folder = tree->Path() == "/" ? "" : tree->Path();
    while (tree->Next())
        if (tree->IsItem() && name.Matches(tree->Name()) &&
            !matches->Take(fmt::format("{}/{}", folder, tree->Name())))
            return false;
    (void)tree->Rewind();  // a folder that cannot be read again has no further entry
    return true;
}

// Goes into the next folder among the entries; false where there is none left.
bool EnterNext(FolderTree* tree) {
    while (tree->Next())
        if (tree->IsItem() && tree->AskKind() == FolderTree::Kind::kFolder &&
            tree->Enter() == noErr)
            return true;
    return false;
}

// All matches of a folder or, in `deep`, of its tree: each folder's own items before those of the
// folders in it, which is the order in which the library looks for the first one.
void FindAll(const std::string& folder, const SoughtName& name, bool deep, Matches* matches) {
    Progress progress("Folders looked at:", 0);
    FolderTree tree;
    const OSErr opened = tree.Open(folder.c_str());
    if (opened == fnfErr || opened == dirNFErr) return;
    FailOnError(opened, folder);
    if (!TakeItems(&tree, name, matches) || !deep) return;
    for (;;) {
        if (EnterNext(&tree)) {
            progress.Step(tree.Path());
            if (!TakeItems(&tree, name, matches)) return;
        } else if (!tree.Leave()) {
            return;
        }
    }
}

// The first match by the library's own search.
void FindFirst(filref reference, bool deep, Matches* matches) {
    Progress progress("Items looked at:", 0);
    const auto seen = [&](const FileSpec*, const std::string& name) {
        progress.Step(name);
        return 1;
    };
    const std::vector<unsigned>& types = matches->Types();
    if (filsea(reference, types.data(), types.size(), deep, seen) != 1) return;
    FileSpec found;
    std::string path;
    if (reference.convertToFileSpec(found) == 0 && found.GetFullPath(path))
        (void)matches->Take(path);
}

void FindOnVolume(filref reference, Matches* matches) {
    struct Stop {};
    Progress progress("Searching the volume ...", 0);
    progress.Show();
    int result = 0;
    try {
        result = SearchVolume(reference, [&](const std::string& path) {
            if (!matches->Take(path)) throw Stop{};
            return 0;
        });
    } catch (const Stop&) {
        return;
    }
    const std::string volume =
        std::string(reference.path).substr(0, std::string_view(reference.path).find(':'));
    if (result == 1) throw Failure(Status::kNothing, volume, "no volume of that name is mounted");
    if (result == -2) Fail(volume, "the volume could not be searched to its end");
    if (result != 0) FailOnError(static_cast<OSErr>(result), volume);
}

Status Find(const Options& options) {
    if (options.volume && options.deep)
        FailUsage("--volume searches all of the volume; --deep adds nothing to it");
    const filref reference =
        ReadPath(options.reference, FormOfName(options.from.value_or("posix")));
    Matches matches(options, RegisterTypes(options.types));
    if (options.volume) {
        FindOnVolume(reference, &matches);
    } else if (options.first) {
        FindFirst(reference, options.deep, &matches);
    } else {
        const std::string name = reference.getNameAsUtf8(filRefMac);
        const std::string folder = FolderOf(reference);
        if (!folder.empty() && !name.empty())
            FindAll(folder, {name, SoughtName::Case::kFolded}, options.deep, &matches);
    }
    return matches.Finish();
}

}  // namespace

void DescribeFind(Command* command) {
    auto options = std::make_shared<Options>();
    command->Flag("--deep", &options->deep, "look in the folders below as well");
    command->Flag("--volume", &options->volume, "look on the reference's whole volume");
    command->Texts("--type", "TYPE", &options->types,
                   "only files of this type code (\"TEXT\") or extension (\".txt\")");
    command->Flag("--first", &options->first, "stop at the first match");
    command->Choice("--from", ReadableForms(), &options->from, "the form of REFERENCE (posix)");
    command->Flag("--json", &options->json, "print a JSON array of paths");
    command->Operand("REFERENCE", &options->reference);
    command->Notes(
        "REFERENCE says where the file should be; it is looked for under its name in that folder.\n"
        "Names compare ignoring composition and, but for --volume, case. --type may be repeated;\n"
        "folders, and files whose type cannot be told, pass it.\n\n"
        "  ondrel find --deep ~/Documents/Picture.png\n"
        "  ondrel find --volume --from mac 'Macintosh HD:Docs:Picture'");
    command->Run([options] { return Find(*options); });
}

}  // namespace OndrelTool

// ondrel preview sheet FOLDER -o sheet.html|sheet.png: a contact sheet.
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

#include "ondrel/platform/FileCodes.h"
#include "ondrel/platform/FolderTree.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/NewFile.h"
#include "tools/ondrel/PreviewAccess.h"
#include "tools/ondrel/Progress.h"
#include "tools/ondrel/Sheet.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

using namespace Ondrel;
namespace fs = std::filesystem;

constexpr std::size_t kMostPictureBytes = std::size_t{1} << 28;
constexpr int kMostRendered = 1280;  // the longer side of what a card's picture is made from

struct Options {
    std::string folder;
    std::optional<std::string> output;
    bool onlyPictures = false;
};

// --- The documents ------------------------------------------------------------------------------

bool IsPlainFile(const std::string& path) {
    std::error_code error;
    return fs::is_regular_file(fs::symlink_status(path, error));
}

void TakeFiles(FolderTree* tree, std::vector<std::string>* files) {
    const std::string folder = tree->Path() == "/" ? "" : tree->Path();
    while (tree->Next()) {
        if (!tree->IsItem() || tree->Name().starts_with('.')) continue;
        const std::string path = fmt::format("{}/{}", folder, tree->Name());
        if (tree->AskKind() == FolderTree::Kind::kOther && IsPlainFile(path))
            files->push_back(path);
    }
    (void)tree->Rewind();
}

bool EnterNext(FolderTree* tree) {
    while (tree->Next())
        if (tree->IsItem() && !tree->Name().starts_with('.') &&
            tree->AskKind() == FolderTree::Kind::kFolder && tree->Enter() == noErr)
            return true;
    return false;
}

// The plain files below a folder, by path; hidden ones, and those in hidden folders, are left out.
std::vector<std::string> FilesBelow(const std::string& folder) {
    std::vector<std::string> files;
    Progress progress("Looking for documents:", 0);
    FolderTree tree;
    FailOnError(tree.Open(FullPath(folder).c_str()), folder);
    TakeFiles(&tree, &files);
    for (;;) {
        if (EnterNext(&tree)) {
            progress.Step(tree.Path());
            TakeFiles(&tree, &files);
        } else if (!tree.Leave()) {
            break;
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// --- Their pictures -----------------------------------------------------------------------------

bool IsPictFile(const std::string& path) {
    std::string extension = fs::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return c < 0x80 ? std::tolower(c) : c; });
    if (extension == ".pict" || extension == ".pct" || extension == ".pic") return true;
    FileCodes codes;
    return GetFileCodes(path.c_str(), &codes) == noErr && codes.type == MakeFourCC("PICT");
}

bool IsPngFile(const std::string& path) {
    constexpr std::string_view kSignature = "\x89PNG\r\n\x1A\n";
    char start[kSignature.size()] = {};
    std::ifstream(path, std::ios::binary).read(start, sizeof start);
    return std::string_view(start, sizeof start) == kSignature;
}

// The file's own picture: its preview, or what it is itself. Nothing where it has none.
std::optional<Pixels> PictureOf(const std::string& path) {
    if (auto preview = ReadPreview(path, kMostRendered)) return preview;
    if (IsPngFile(path)) return ReadPngFile(path);
    if (IsPictFile(path))
        return RenderPicture(ReadWholeFile(path, kMostPictureBytes), kMostRendered);
    return std::nullopt;
}

Card MakeCard(const std::string& path, const std::string& folder) {
    Card card;
    card.path = path;
    card.name = fs::path(path).lexically_relative(folder).string();
    const auto picture = PictureOf(path);
    if (!picture) return card;
    card.width = picture->width;
    card.height = picture->height;
    card.picture = FitInto(*picture, kCardPixels, kCardPixels);
    return card;
}

Status GatherCards(const std::string& folder, const std::vector<std::string>& files, Sheet* sheet) {
    Progress progress("Documents", files.size());
    return ForEachFile(files, [&](const std::string& path) {
        progress.Step(path);
        sheet->cards.push_back(
            {path, fs::path(path).lexically_relative(folder).string(), {}, 0, 0});
        sheet->cards.back() = MakeCard(path, folder);
        return Status::kDone;
    });
}

// --- The command --------------------------------------------------------------------------------

Status MakeSheet(const Options& options) {
    const bool isHtml = options.output->ends_with(".html");
    if (!isHtml && !options.output->ends_with(".png"))
        FailUsage("the sheet's name ends in .html or .png");
    RequireFolder(options.folder);
    const std::string folder =
        (fs::path(FullPath(options.folder)) / "").lexically_normal().parent_path().string();
    const std::string place = fs::path(FullPath(*options.output)).lexically_normal().string();
    std::vector<std::string> files = FilesBelow(folder);
    std::erase(files, place);  // a sheet of before is no document
    Sheet sheet;
    sheet.title = options.folder;
    const Status gathered = GatherCards(folder, files, &sheet);
    if (options.onlyPictures)
        std::erase_if(sheet.cards, [](const Card& card) { return !card.picture; });
    if (sheet.cards.empty()) {
        Complain(options.folder, "holds no documents");
        return Worse(gathered, Status::kNothing);
    }
    WriteNewFile(*options.output, isHtml
                                      ? SheetAsHtml(sheet, fs::path(place).parent_path().string())
                                      : SheetAsPng(sheet));
    return gathered;
}

}  // namespace

void DescribeSheet(Command* command) {
    auto options = std::make_shared<Options>();
    command->Text("-o,--output", "SHEET", &options->output, "the sheet: a name in .html or .png");
    command->Required();
    command->Flag("--pictures", &options->onlyPictures, "leave out what has no picture");
    command->Operand("FOLDER", &options->folder);
    command->Notes(
        "A document's picture is its preview; PICT and PNG files are shown as they are. Hidden\n"
        "files are left out. A file that cannot be read is complained of and has an empty card.");
    command->Run([options] { return MakeSheet(*options); });
}

}  // namespace OndrelTool

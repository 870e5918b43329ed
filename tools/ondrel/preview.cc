// ondrel preview show|set|sheet: the previews of documents.
#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "ondrel/platform/Icons.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/HalfBlocks.h"
#include "tools/ondrel/Interrupts.h"
#include "tools/ondrel/NewFile.h"
#include "tools/ondrel/PreviewAccess.h"
#include "tools/ondrel/ResourceAccess.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Terminal.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

using namespace Ondrel;

constexpr int kMostResolution = 32767;

// --- show ---------------------------------------------------------------------------------------

struct ShowOptions {
    std::string file;
    std::optional<std::string> output;
    int height = kMostImagePixels;
};

// As wide as the terminal, and low enough to leave a line for the prompt.
Pixels FitTerminal(const Pixels& picture) {
    const TerminalSize size = GetTerminalSize();
    return FitInto(picture, size.columns, std::max(2, (size.lines - 1) * 2));
}

Status Show(const ShowOptions& options) {
    RequireReadableFile(options.file);
    if (!options.output && !IsOutputTerminal())
        FailUsage("standard output is no terminal; say where the picture goes with -o");
    const auto preview = ReadPreview(options.file, options.height);
    if (!preview) {
        Complain(options.file, "has no preview");
        return Status::kNothing;
    }
    if (!options.output)
        Print(HalfBlocks(FitTerminal(*preview), HasColours()));
    else if (*options.output == "-")
        Print(PngOf(*preview, options.file));
    else
        WriteNewFile(*options.output, PngOf(*preview, options.file));
    return Status::kDone;
}

void DescribeShow(Command* command) {
    auto options = std::make_shared<ShowOptions>();
    command->Text("-o,--output", "FILE.png", &options->output,
                  "write a PNG file (- for standard output)");
    command->Number("--height", "N", 1, kMostImagePixels, &options->height,
                    "halve the picture until it is at most so high");
    command->Operand("FILE", &options->file);
    command->Notes("On a terminal the picture is shown in half-block characters and true colour.");
    command->Run([options] { return Show(*options); });
}

// --- set ----------------------------------------------------------------------------------------

struct SetOptions {
    std::string file;
    std::string picture;
    std::optional<std::string> mask;
    int resolution = 72;
    bool replace = false;
};

// The mask's bright pixels are what is seen of the picture.
void TakeMask(const std::string& file, Pixels* picture) {
    const Pixels mask = ReadPngFile(file);
    if (mask.width != picture->width || mask.height != picture->height)
        Fail(file,
             fmt::format("is {} x {} pixels and the picture {} x {}; a mask has the same size",
                         mask.width, mask.height, picture->width, picture->height));
    for (std::size_t at = 0; at < mask.pixels.size(); at += 4) {
        const unsigned char* const pixel = mask.pixels.data() + at;
        const unsigned brightness = (2126U * pixel[1] + 7152U * pixel[2] + 722U * pixel[3]) / 10000;
        picture->pixels[at] = brightness * pixel[0] / 255 >= 128 ? 255 : 0;
    }
}

bool BelongsToPreview(const ResourceInfo& resource) {
    return (resource.type == MakeFourCC("PICT") && resource.id == 256) ||
           (resource.type == MakeFourCC("pnot") && resource.id == 0) ||
           (resource.type == kIconFamilyType && resource.id == kCustomIconId);
}

// A new preview takes the place of the whole fork.
void RequireNothingLost(const SetOptions& options) {
    std::size_t others = 0;
    for (const ResourceInfo& resource : ResourcesOf(options.file, ReadFork(options.file)))
        others += !BelongsToPreview(resource);
    if (others > 0 && !options.replace)
        Fail(options.file,
             fmt::format("has {} resource{} that a new preview would take the place of; --replace "
                         "does it all the same",
                         others, others == 1 ? "" : "s"));
}

Status Set(const SetOptions& options) {
    RequireFile(options.file);
    Pixels picture = ReadPngFile(options.picture);
    if (options.mask) TakeMask(*options.mask, &picture);
    RequireNothingLost(options);
    const HoldInterrupts hold;
    WritePreview(options.file, picture, options.resolution);
    return Status::kDone;
}

void DescribeSet(Command* command) {
    auto options = std::make_shared<SetOptions>();
    command->Text("--mask", "M.png", &options->mask, "show the picture where this one is bright");
    command->Number("--resolution", "N", 1, kMostResolution, &options->resolution,
                    "dots an inch (72)");
    command->Flag("--replace", &options->replace, "drop the other resources of the file");
    command->Operand("FILE", &options->file);
    command->Operand("PICTURE.png", &options->picture);
    command->Notes(
        "The picture becomes FILE's preview and its icon. Without --mask, what is less than half\n"
        "opaque is left out.");
    command->Run([options] { return Set(*options); });
}

}  // namespace

void DescribePreview(Command* command) {
    command->Subcommand("show", "Shows a document's preview.", DescribeShow);
    command->Subcommand("set", "Gives a document a preview and an icon.", DescribeSet);
    command->Subcommand("sheet", "Makes a contact sheet of the documents below a folder.",
                        DescribeSheet);
}

}  // namespace OndrelTool

// ondrel pict IN.pict ... -o DIR: pictures of the Mac to PNG files.
#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <set>

#include "ondrel/platform/Images.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/NewFile.h"
#include "tools/ondrel/Pixels.h"
#include "tools/ondrel/Progress.h"

namespace OndrelTool {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostPictBytes = std::size_t{1} << 30;

struct Options {
    std::vector<std::string> files;
    std::optional<std::string> folder;
    bool white = false;
    int size = Ondrel::kMostImagePixels;
};

void MakeFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder))
        Fail(folder, fs::exists(folder) ? "is no folder" : "the folder cannot be made");
}

std::string PlaceOf(const std::string& file, const std::string& folder) {
    return (fs::path(folder) / (fs::path(file).stem().string() + ".png")).string();
}

Status Convert(const std::string& file, const std::string& place, const Options& options) {
    const std::string bytes = ReadWholeFile(file, kMostPictBytes);
    auto picture = RenderPicture(bytes, options.size);
    if (!picture) Fail(file, bytes.empty() ? "is empty" : "is no picture");
    if (options.white) picture = OnWhite(std::move(*picture));
    WriteNewFile(place, PngOf(*picture, file));
    return Status::kDone;
}

Status ConvertAll(const Options& options) {
    MakeFolder(*options.folder);
    std::set<std::string> places;
    Progress progress("Pictures", options.files.size());
    return ForEachFile(options.files, [&](const std::string& file) {
        progress.Step(file);
        const std::string place = PlaceOf(file, *options.folder);
        if (!places.insert(place).second)
            Fail(file, fmt::format("{} was made from another of these pictures", place));
        return Convert(file, place, options);
    });
}

}  // namespace

void DescribePict(Command* command) {
    auto options = std::make_shared<Options>();
    command->Text("-o,--output", "DIR", &options->folder, "the folder for the PNG files");
    command->Required();
    command->Number("--size", "N", 1, Ondrel::kMostImagePixels, &options->size,
                    "draw no side longer than so many pixels");
    command->Flag("--white", &options->white, "on white, instead of on nothing");
    command->Operands("IN.pict", &options->files);
    command->Notes("\"a.pict\" becomes \"DIR/a.png\"; DIR is made where it is missing.");
    command->Run([options] { return ConvertAll(*options); });
}

}  // namespace OndrelTool

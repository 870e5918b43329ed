// The tool in its scratch folder.
#include "tests/system/tool/ToolFixture.h"

#include <sys/mount.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

#include "ondrel/platform/Png.h"

namespace OndrelTool::Testing {

namespace fs = std::filesystem;

ToolTest::ToolTest() {
    fs::permissions(scratch_.Path(), fs::perms(0755));
}

Program ToolTest::Ondrel(const std::vector<std::string>& words) const {
    std::vector<std::string> all = {ONDREL_TOOL};
    all.insert(all.end(), words.begin(), words.end());
    return Program(std::move(all))
        .In(scratch_.Path())
        .With("LSAN_OPTIONS",
              "print_suppressions=0:suppressions=" SOURCE_FOLDER "/tests/system/tool/lsan.supp")
        .With("ONDREL_VOLUMES", "Vol=" + scratch_.Path());
}

void ToolTest::Expect(const ProgramResult& result, int status, const std::string& output,
                      const std::string& errors) {
    EXPECT_EQ(result.status, status) << "signal " << result.signal;
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.errors, errors);
}

std::string ToolTest::Names(std::string_view folder) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Path(folder)))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

std::string SidecarOf(std::string_view finderInfo, std::string_view fork) {
    std::string info(finderInfo);
    info.resize(32);
    std::string size(4, '\0');
    for (int i = 0; i < 4; ++i)
        size[static_cast<std::size_t>(i)] = static_cast<char>(fork.size() >> (24 - 8 * i));
    return Bytes("00 05 16 07 00 02 00 00") + "Mac OS X        " + Bytes("00 02") +
           Bytes("00 00 00 09 00 00 00 32 00 00 00 20") + Bytes("00 00 00 02 00 00 00 52") + size +
           info + std::string(fork);
}

std::string SmallFork() {
    const std::string header = Bytes("00 00 01 00 00 00 01 0F 00 00 00 0F 00 00 00 4A");
    return header + std::string(240, '\0') +
           Bytes(
               // data
               "00 00 00 05 68 65 6C 6C 6F  00 00 00 02 58 59") +
           header +
           Bytes(
               "00 00 00 00 00 00 00 00 00 1C 00 46"
               // types: TEXT with 1 at 18, PICT with 1 at 30
               "00 01 54 45 58 54 00 00 00 12 50 49 43 54 00 00 00 1E"
               // references
               "00 80 00 00 00 00 00 00 00 00 00 00"
               "01 2C FF FF 00 00 00 09 00 00 00 00"
               // names
               "03 4F 6E 65");
}

std::string RandomBytes(std::size_t size) {
    std::mt19937 random(7);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

std::string PngOfColour(int width, int height, std::string_view colour) {
    std::string pixels;
    for (int i = 0; i < width * height; ++i)
        pixels += colour;
    std::string png;
    const ::Ondrel::Image image = {reinterpret_cast<const unsigned char*>(pixels.data()), width,
                                   height, static_cast<std::size_t>(width) * 4,
                                   ::Ondrel::AlphaInfo::kFirst};
    EXPECT_EQ(AppendPng(image, &png), 0);
    return png;
}

SmallDisk::SmallDisk(std::string folder, int kibibytes) : folder_(std::move(folder)) {
    fs::create_directories(folder_);
    const std::string options = "size=" + std::to_string(kibibytes) + "k";
    isThere_ = mount("none", folder_.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

SmallDisk::~SmallDisk() {
    if (isThere_) umount2(folder_.c_str(), MNT_DETACH);
}

void SmallDisk::Fill() const {
    std::ofstream filler(folder_ + "/filler");
    const std::string block(4096, 'f');
    while (filler << block << std::flush) {
    }
}

}  // namespace OndrelTool::Testing

// A contact sheet of pictures, for people to look at:
//
//   picturesheet FOLDER [PICTURE ...]
//
// draws the pictures of the corpus, or those named, and writes into the folder each as a PNG file,
// sheets that show them in pairs with their references to the right, and index.html, a page of all
// of them with their names. Prints a line for each: its number, name, size and what became of it.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ondrel/platform/Png.h"
#include "ondrel/platform/quickdraw/Text.h"
#include "tests/platform/quickdraw/CorpusPictures.h"
#include "tests/support/Corpus.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

constexpr int kColumns = 2;  // pairs side by side
constexpr int kRows = 3;
constexpr int kCellWidth = 400;
constexpr int kCellHeight = 400;
constexpr int kGap = 8;
constexpr int kLabel = 16;
constexpr int kGray = 0xC0;

void WritePng(const Raster& raster, const std::string& path) {
    std::string png;
    if (AppendPng(raster.AsImage(), &png) != noErr) return;
    std::ofstream(path, std::ios::binary) << png;
}

// Small pictures are shown in whole multiples of their size, so that each pixel can be seen.
Raster Magnified(const Raster& raster, int times) {
    Raster large(raster.width * times, raster.height * times);
    for (int y = 0; y < large.height; ++y)
        for (int x = 0; x < large.width; ++x)
            std::copy_n(raster.At(x / times, y / times), 4, large.At(x, y));
    return large;
}

Raster Fitted(const Raster& raster) {
    const int times = std::min(kCellWidth / raster.width, kCellHeight / raster.height);
    if (times >= 1) return Magnified(raster, times);
    const double scale =
        std::min(double{kCellWidth} / raster.width, double{kCellHeight} / raster.height);
    return Scaled(raster, std::max(1, static_cast<int>(raster.width * scale)),
                  std::max(1, static_cast<int>(raster.height * scale)));
}

// Sheets of pairs, each written when it is full.
class Sheets {
 public:
    explicit Sheets(std::string folder) : folder_(std::move(folder)) { Begin(); }
    ~Sheets() { End(); }
    Sheets(const Sheets&) = delete;
    Sheets& operator=(const Sheets&) = delete;

    void Add(const std::string& label, const Raster* drawn, const Raster* reference) {
        if (pairs_ == kColumns * kRows) {
            End();
            Begin();
        }
        const int left = pairs_ % kColumns * 2 * (kCellWidth + kGap);
        const int top = pairs_ / kColumns * (kCellHeight + kGap + kLabel);
        Write(label, left + kGap, top + kLabel - 4);
        if (drawn != nullptr) Put(*drawn, left, top + kLabel);
        if (reference != nullptr) Put(*reference, left + kCellWidth + kGap, top + kLabel);
        ++pairs_;
    }

 private:
    void Begin() {
        sheet_ = Raster(kColumns * 2 * (kCellWidth + kGap), kRows * (kCellHeight + kGap + kLabel));
        for (std::size_t i = 0; i < sheet_.pixels.size(); ++i)
            if (i % 4 != 0) sheet_.pixels[i] = kGray;
        pairs_ = 0;
    }
    void End() {
        if (pairs_ == 0) return;
        char name[32];
        std::snprintf(name, sizeof name, "/sheet-%02d.png", ++number_);
        WritePng(sheet_, folder_ + name);
    }
    void Put(const Raster& raster, int left, int top) {
        const Raster fitted = Fitted(raster);
        (void)DrawImage(sheet_.AsContext(), {left, top, fitted.width, fitted.height},
                        fitted.AsImage());
    }
    void Write(const std::string& text, int left, int baseline) {
        using namespace QuickDraw;
        Canvas canvas(sheet_.width, kLabel, 1U << 30);
        State state;
        state.mapping = {canvas.Bounds(), canvas.Width(), canvas.Height()};
        state.clip = Region(canvas.Bounds());
        state.text.location = {kLabel - 4, left};
        DrawText(text, state, canvas);
        for (int y = 0; y < canvas.Height(); ++y)
            for (int x = 0; x < canvas.Width(); ++x)
                if (canvas.Row(y)[x] != 0)
                    std::fill_n(sheet_.At(x, baseline + y - kLabel + 4) + 1, 3, 0);
    }

    std::string folder_;
    Raster sheet_;
    int pairs_ = 0;
    int number_ = 0;
};

std::vector<CorpusFile> FilesNamed(char** names, int count) {
    std::vector<CorpusFile> files;
    for (int i = 0; i < count; ++i) {
        CorpusFile file;
        file.path = names[i];
        file.name = std::filesystem::path(file.path).filename().string();
        files.push_back(file);
    }
    return files;
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        if (character == '&')
            escaped += "&amp;";
        else if (character == '<')
            escaped += "&lt;";
        else
            escaped += character;
    }
    return escaped;
}

std::string Distance(const Raster& drawn, const Raster& reference) {
    char text[96];
    const Difference afar = CompareFromAfar(drawn, reference);
    int length = std::snprintf(text, sizeof text, " from afar %d, mean %.1f", afar.most, afar.mean);
    if (drawn.Size() == reference.Size()) {
        const Difference near = Compare(drawn, reference);
        std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length),
                      "; pixels %d, mean %.2f", near.most, near.mean);
    }
    return text;
}

int Run(int count, char** arguments) {
    if (count < 2) {
        std::fputs("usage: picturesheet FOLDER [PICTURE ...]\n", stderr);
        return 2;
    }
    const std::string folder = arguments[1];
    std::filesystem::create_directories(folder);
    const std::vector<CorpusFile> files =
        count > 2 ? FilesNamed(arguments + 2, count - 2) : CorpusFiles("pict/");
    if (files.empty()) {
        std::fputs("the corpus is not there; its folder may be named in ONDREL_CORPUS\n", stderr);
        return 1;
    }
    std::ofstream page(folder + "/index.html");
    page << "<!doctype html><meta charset=\"utf-8\"><title>Pictures</title>\n";
    Sheets sheets(folder);
    int number = 0;
    for (const CorpusFile& file : files) {
        Raster drawn;
        const OSErr code = DrawPicture(ReadAll(file.path), &drawn);
        const auto reference = ReadReference(file.reference);
        const std::string name = std::filesystem::path(file.name).stem().string();
        std::string label = std::to_string(++number);
        label += ' ';
        label += name;
        label += code == noErr ? ' ' + drawn.Size() : " refused: " + std::to_string(code);
        std::printf("%s (%s)%s\n", label.c_str(), file.size.c_str(),
                    code == noErr && reference ? Distance(drawn, *reference).c_str() : "");
        page << "<h3>" << Escaped(label) << "</h3>\n<p>" << Escaped(file.content) << "</p>\n";
        if (code == noErr) {
            WritePng(drawn, std::filesystem::path(folder) / (name + ".png"));
            page << "<img src=\"" << Escaped(name) << ".png\">\n";
        }
        if (reference)
            page << "<img src=\"file://" << Escaped(file.reference) << "\" width=\"" << drawn.width
                 << "\">\n";
        sheets.Add(label, code == noErr ? &drawn : nullptr, reference ? &*reference : nullptr);
    }
    return 0;
}

}  // namespace
}  // namespace Ondrel::Testing

int main(int count, char** arguments) {
    return Ondrel::Testing::Run(count, arguments);
}

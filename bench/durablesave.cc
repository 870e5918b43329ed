// A durable save of a document of 1 MiB: the temporary file, flush and swap of the library beside
// the floor (temporary, fdatasync, rename, fsync of the folder), Qt's QSaveFile, which does not
// flush the folder, and GLib's durable replacement. What is measured is the disk as much as the
// code.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/RatioTable.h"
#include "bench/Scratch.h"
#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/fil/safesave.h"

#ifdef BENCH_HAS_QT
#include <QSaveFile>
#endif
#ifdef BENCH_HAS_GLIB
#include <glib.h>
#endif

namespace {

constexpr int kMiB = 1 << 20;

std::string folder;
std::string path;
std::string content;

[[maybe_unused]] long Size() {
    return static_cast<long>(content.size());
}

void SaveAtFloor() {
    const std::string temporary = folder + "/temporary";
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
    if (::write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
        std::abort();
    if (::fdatasync(fd) != 0) std::abort();
    ::close(fd);
    if (std::rename(temporary.c_str(), path.c_str()) != 0) std::abort();
    const int directory = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (::fsync(directory) != 0) std::abort();
    ::close(directory);
}

void SaveByLibrary() {
    using namespace Ondrel;
    const FileSpec document(UTF8ToUni16String(path));
    filref place;
    place.convertFromFileSpec(document);
    FileSpec finished;
    fil f;
    bool saved = filsavtem(&f, nullptr, &place, 0, nullptr) == 0;
    saved = saved && filwri(&f, reinterpret_cast<const unsigned char*>(content.data()),
                            static_cast<int>(content.size())) == 0;
    saved = saved && filflu(&f) == 0;
    f.GetFileSpec(finished);
    saved = saved && filclo(&f) == 0;
    FileSpecFunctions functions;
    if (!saved || !functions.ReplaceFile(finished, document)) std::abort();
}

#ifdef BENCH_HAS_QT
void SaveByQt() {
    QSaveFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly) || file.write(content.data(), Size()) != Size() ||
        !file.commit())
        std::abort();
}
#endif

#ifdef BENCH_HAS_GLIB
void SaveByGlib() {
    const auto flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                          G_FILE_SET_CONTENTS_DURABLE);
    if (!g_file_set_contents_full(path.c_str(), content.data(), Size(), flags, 0666, nullptr))
        std::abort();
}
#endif

bool HoldsContent() {
    std::string bytes(content.size(), '\0');
    std::ifstream in(path, std::ios::binary);
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return in && in.peek() == std::ifstream::traits_type::eof() && bytes == content;
}

template <void (*save)(), int kSize>
void Save(benchmark::State& state) {
    content.assign(kSize, 'c');
    std::ofstream(path, std::ios::binary | std::ios::trunc) << "old";
    for (auto _ : state) {
        content[0] = static_cast<char>(content[0] + 1);
        save();
    }
    if (!HoldsContent()) state.SkipWithError("saved other bytes");
}

template <void (*save)()>
void Register(const std::string& contender) {
    Bench::AddWork("I. durable save of 1 MiB", contender, Save<save, kMiB>);
    Bench::AddWork("I. durable save of 64 MiB", contender, Save<save, 64 * kMiB>);
}

}  // namespace

int main(int argc, char** argv) {
    std::string pattern = (std::filesystem::temp_directory_path() / "ondrel-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) return 1;
    folder = pattern;
    path = folder + "/document";
    std::vector<std::string> contenders = {"floor", "ondrel"};
    std::vector<std::string> skipped;
    Register<SaveAtFloor>("floor");
    Register<SaveByLibrary>("ondrel");
#ifdef BENCH_HAS_QT
    contenders.emplace_back("QSaveFile");
    Register<SaveByQt>("QSaveFile");
#else
    skipped.emplace_back("QSaveFile");
#endif
#ifdef BENCH_HAS_GLIB
    contenders.emplace_back("GLib");
    Register<SaveByGlib>("GLib");
#else
    skipped.emplace_back("GLib");
#endif
    const int result = Bench::RunAndPrint(argc, argv, contenders, skipped);
    std::filesystem::remove_all(folder);
    return result;
}

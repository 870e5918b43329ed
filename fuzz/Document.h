// Outside bytes as a document: a file in a folder of its own, which is the volume "Fuzz" and goes
// when the program does. It lies where temporary files lie; fuzz/run has them in memory.
#ifndef FUZZ_DOCUMENT_H
#define FUZZ_DOCUMENT_H

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "fuzz/Require.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/filref/filref.h"

namespace OndrelFuzz {

inline std::string MakeFolder() {
    std::string folder = std::filesystem::temp_directory_path() / "ondrel-fuzz-XXXXXX";
    Require(mkdtemp(folder.data()) != nullptr);
    return folder;
}

class Document {
 public:
    Document() : folder_(MakeFolder()) { Require(Ondrel::MountVolume("Fuzz", folder_.c_str())); }
    ~Document() { std::filesystem::remove_all(folder_); }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    // Another file of the folder: "._document" is the document's sidecar.
    std::string Path(std::string_view name = "document") const {
        return folder_ + "/" + std::string(name);
    }

    void Write(std::string_view bytes, std::string_view name = "document") const {
        std::FILE* const file = std::fopen(Path(name).c_str(), "wb");
        Require(file != nullptr);
        Require(std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
        Require(std::fclose(file) == 0);
    }

    void Remove(std::string_view name) const { std::filesystem::remove_all(Path(name)); }

    static Ondrel::filref Reference(const std::string& name = "document") {
        Ondrel::filref ref;
        ref.ConvertFromMacPath(("Fuzz:" + name).c_str());
        return ref;
    }

    Ondrel::FileSpec Spec() const { return Ondrel::FileSpec(Ondrel::UTF8ToUni16String(Path())); }

 private:
    std::string folder_;
};

inline const Document& TheDocument() {
    static const Document document;
    return document;
}

}  // namespace OndrelFuzz

#endif

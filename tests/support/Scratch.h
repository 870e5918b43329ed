// A scratch folder of a test: made new, gone with everything in it when the object goes. It is
// mounted as the volume "Test" for colon paths, where the core library is linked and the test asks
// for it.
#ifndef TESTS_SUPPORT_SCRATCH_H
#define TESTS_SUPPORT_SCRATCH_H

#include <string>
#include <string_view>

namespace Ondrel::Testing {

class Scratch {
 public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    const std::string& Path() const { return path_; }
    std::string Path(std::string_view name) const { return path_ + "/" + std::string(name); }

    // Writes a file, making its folders; answers its path.
    std::string Write(std::string_view name, std::string_view bytes) const;
    std::string MakeFolder(std::string_view name) const;

 private:
    std::string path_;
};

// The bytes of a file; a test failure, and empty, when it cannot be read.
std::string ReadAll(const std::string& path);
void WriteAll(const std::string& path, std::string_view bytes);
bool Exists(const std::string& path);  // the item itself, links not followed

// "00 05 16" for bytes, so that a failing comparison can be read.
std::string Hex(std::string_view bytes);

// Bytes from such a text; blanks may stand anywhere.
std::string Bytes(std::string_view hex);

// The number of open descriptors of this process.
int OpenDescriptors();

}  // namespace Ondrel::Testing

#endif

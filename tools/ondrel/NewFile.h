// A file that the tool makes: written under a name of its own beside its place, and given its name
// when it is whole. What goes wrong before leaves the place as it was and nothing beside it.
#ifndef TOOLS_ONDREL_NEWFILE_H
#define TOOLS_ONDREL_NEWFILE_H

#include <string>
#include <string_view>

namespace OndrelTool {

// Interrupts should be held off while one is alive.
class NewFile {
 public:
    // `path` as given on the command line. A device or a pipe is written to directly; a link keeps
    // leading to its target, which is replaced. Throws a Failure that names the path.
    explicit NewFile(const std::string& path);
    ~NewFile();  // without Finish: takes away what was written
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // Throws a Failure; Interrupted where a signal is held off.
    void Write(std::string_view bytes);

    // Brings the bytes to the disk and gives the file its name. A file that was there is replaced,
    // and its permission kept. Throws a Failure.
    void Finish();

 private:
    void GiveUp();
    [[noreturn]] void FailHost();

    std::string path_;       // as it was given, for messages
    std::string place_;      // where links lead
    std::string temporary_;  // empty where the place is written to directly
    int fd_ = -1;
};

// The whole at once.
void WriteNewFile(const std::string& path, std::string_view bytes);

}  // namespace OndrelTool

#endif

// ondrel save FILE: standard input becomes the file's data, by the library's safe save.
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <climits>
#include <memory>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/filref/operations.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/Interrupts.h"
#include "tools/ondrel/StandardInput.h"

namespace OndrelTool {
namespace {

using namespace Ondrel;

struct Options {
    std::string file;
    bool allowEmpty = false;
};

// The new version of a document, beside it; gone with the object unless it has taken the
// document's place.
class NewVersion {
 public:
    // `place` is where the document lies, `name` what the user calls it.
    NewVersion(const std::string& place, std::string name)
        : name_(std::move(name)), place_(ReferenceOf(place)), document_(SpecOf(place)) {}
    ~NewVersion() {
        if (stream_.sys != nullptr) (void)stream_.Close();
        if (temporary_.IsValid()) (void)FileSpecFunctions().DeleteFile(temporary_, false);
    }
    NewVersion(const NewVersion&) = delete;
    NewVersion& operator=(const NewVersion&) = delete;

    // A file that was made and could then not be opened has to go as well.
    void Open() {
        const int opened = filsavtem(&stream_, nullptr, &place_, 0, nullptr);
        stream_.GetFileSpec(temporary_);
        if (opened != 0) FailStream();
    }

    void Write(std::string_view bytes) {
        size_ += bytes.size();
        if (size_ > INT_MAX) Fail(name_, "documents of 2 GiB or more are not supported");
        const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
        if (filwri(&stream_, data, static_cast<int>(bytes.size())) != 0) FailStream();
    }

    std::size_t Size() const { return size_; }

    void Finish() {
        if (filflu(&stream_) != 0) FailStream();
        if (stream_.Close() != 0) Fail(name_, Explain(lasterror));
        FileSpecFunctions functions;
        if (!functions.ReplaceFile(temporary_, document_))
            Fail(name_, Explain(functions.errorCode));
        temporary_ = FileSpec();
    }

 private:
    [[noreturn]] void FailStream() const {
        Fail(name_, Explain(stream_.sys != nullptr ? stream_.sys->error : lasterror));
    }

    std::string name_;
    filref place_;
    FileSpec document_;
    FileSpec temporary_;
    fil stream_;
    std::size_t size_ = 0;
};

Status Save(const Options& options) {
    const std::string place = PlaceForWriting(options.file);
    const HoldInterrupts hold;
    NewVersion version(place, options.file);
    version.Open();
    ReadStandardInput([&](std::string_view bytes) { version.Write(bytes); });
    if (version.Size() == 0 && !options.allowEmpty) {
        Complain(options.file, "there is nothing to save (--allow-empty saves an empty file)");
        return Status::kNothing;
    }
    CheckInterrupt();
    version.Finish();
    return Status::kDone;
}

}  // namespace

void DescribeSave(Command* command) {
    auto options = std::make_shared<Options>();
    command->Flag("--allow-empty", &options->allowEmpty, "save also when there are no data");
    command->Operand("FILE", &options->file);
    command->Notes(
        "The data come from standard input and go to a temporary file, which takes FILE's place\n"
        "when it is whole and on the disk. FILE keeps its codes, resource fork, permission and\n"
        "attributes; a link stays and its target is replaced. Whatever fails, the old file stays.\n"
        "\n  convert-it <old | ondrel save new.doc");
    command->Run([options] { return Save(*options); });
}

}  // namespace OndrelTool

// The stream of a document.
#include "tools/ondrel/layout/Source.h"

#include <limits>

namespace OndrelTool {

using namespace Ondrel;

namespace {

// Raised, so that a failure leaves the record behind, which has the code. Holds nothing that a
// raise would skip.
int OpenRaised(fil* stream, const FileSpec& document) {
    errtyp context;
    const int raised = setjmp(context.context);
    const int result = raised != 0 ? raised : openFile(stream, &context, document);
    filerr(stream, nullptr);
    return result;
}

}  // namespace

bool Source::Open(const FileSpec& document) {
    const int result = OpenRaised(&stream_, document);
    if (result == fnfErr) lasterror = fnfErr;  // a missing file leaves no record
    if (result != 0) return false;
    std::int64_t size = 0;
    stream_.sys->error = FSGetForkSize(stream_.sys->forkRef, &size);
    if (size > std::numeric_limits<int>::max()) stream_.sys->error = posErr;
    if (HasFailed()) return false;
    size_ = static_cast<int>(size);
    return true;
}

FileSpec Source::File() const {
    FileSpec file;
    stream_.GetFileSpec(file);
    return file;
}

bool Source::MoveTo(int position) {
    return filpos(&stream_, position) == 0;
}

bool Source::Read(int begin, std::size_t n, std::string* bytes) {
    bytes->resize(n);
    return MoveTo(begin) && filrea(&stream_, reinterpret_cast<unsigned char*>(bytes->data()),
                                   static_cast<int>(n)) == 0;
}

void Source::MeetTheEnd() {
    (void)filpos(&stream_, std::numeric_limits<int>::max());
}

bool Source::HasFailed() const {
    return stream_.sys != nullptr && stream_.sys->error != noErr;
}

std::string Source::Message() const {
    return GetFileErrorMessage(stream_.sys != nullptr ? &stream_ : nullptr);
}

}  // namespace OndrelTool

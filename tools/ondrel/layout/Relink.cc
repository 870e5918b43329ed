// The copy with new links, its comparison, and the swap.
#include "tools/ondrel/layout/Relink.h"

#include <algorithm>
#include <limits>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/Process.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/filref/operations.h"
#include "ondrel/records/filerefs.h"
#include "tools/ondrel/layout/Source.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

constexpr int kPiece = 1 << 16;
constexpr const char* kStopped = "stopped";

// No record is longer than a head and the storage of a reference.
constexpr std::int64_t kMostGrowth = 7 + kFilrefSize;

std::string VolumeOf(const std::string& colonPath) {
    return colonPath.substr(0, colonPath.find(':'));
}

// A link that was stored without its place stays so, unless it leads where that cannot.
bool KeepsFull(const Value& old, const filref& base, const std::string& target) {
    const bool relativeOnly = old.shared == 1 && old.stored.starts_with("dummy:");
    return !relativeOnly || VolumeOf(base.path) != VolumeOf(target);
}

// Writes the new document into a stream, by the positions of the old one.
class Copy {
 public:
    Copy(const DocumentLinks& document, const std::vector<NewTarget>& targets, const filref& base,
         fil* out)
        : document_(document), targets_(targets), base_(base), out_(out) {}

    std::string Make() {
        if (!in_.Open(document_.file)) return in_.Message();
        for (const NewTarget& target : targets_) {
            const Value& old = document_.links[target.link].value;
            if (!CloseBlocks(old.begin) || !OpenBlocks(old) || !CopyTo(old.begin) ||
                !WriteLink(old, target.colonPath))
                return problem_;
            at_ = old.end;
        }
        CloseBlocks(in_.Size()) && CopyTo(in_.Size());
        return problem_;
    }

 private:
    struct OpenBlock {
        int end;     // of the old one
        int width;   // of its marker
        int marker;  // what the stream's own function for it wants
    };

    bool Fail(std::string problem) {
        problem_ = std::move(problem);
        return false;
    }

    bool FailWriting() { return Fail(GetFileErrorMessage(out_)); }

    bool CopyTo(int end) {
        std::string piece;
        while (at_ < end) {
            if (cancel(0, 0) != 0) return Fail(kStopped);
            const int n = std::min(end - at_, kPiece);
            if (!in_.Read(at_, static_cast<std::size_t>(n), &piece)) return Fail(in_.Message());
            if (filwri(out_, reinterpret_cast<const unsigned char*>(piece.data()), n) != 0)
                return FailWriting();
            at_ += n;
        }
        return true;
    }

    // Ends the blocks that end at or before a position of the old document.
    bool CloseBlocks(int position) {
        while (!open_.empty() && open_.back().end <= position) {
            const OpenBlock block = open_.back();
            open_.pop_back();
            if (!CopyTo(block.end)) return false;
            if (block.width == 2) {
                if (!filwrilen16(out_, block.marker) && filerr(out_) == 0)
                    return Fail(
                        "a block of the document would get longer than its length of 16 "
                        "bits can tell");
            } else {
                filwrilen(out_, block.marker);
            }
            if (filerr(out_) != 0) return FailWriting();
        }
        return true;
    }

    // Begins the blocks around a link that are not open yet. All others are copied as they are.
    bool OpenBlocks(const Value& link) {
        for (; block_ < document_.blocks.size() && document_.blocks[block_].begin < link.begin;
             ++block_) {
            const Block& block = document_.blocks[block_];
            if (block.end <= link.begin) continue;
            if (!CopyTo(block.begin)) return false;
            const int marker = block.width == 2 ? filwripos16(out_) : filwripos(out_);
            if (filerr(out_) != 0) return FailWriting();
            open_.push_back({block.end, block.width, marker});
            at_ = block.begin + block.width;
        }
        return true;
    }

    bool WriteLink(const Value& old, const std::string& colonPath) {
        filref target;
        if (target.ConvertFromMacPath(colonPath.c_str()) != 0) return FailWriting();
        const int result =
            old.form == Form::kRef
                ? filwriref(out_, target)
                : filwrirefrel(out_, base_, target, KeepsFull(old, base_, colonPath) ? 1 : 0);
        return result == 0 || FailWriting();
    }

    const DocumentLinks& document_;
    const std::vector<NewTarget>& targets_;
    const filref& base_;
    fil* out_;
    Source in_;
    int at_ = 0;             // up to where the old document has been taken over
    std::size_t block_ = 0;  // the next block of the document
    std::vector<OpenBlock> open_;
    std::string problem_;
};

// Reads the new document as its readers will.
std::string Compare(const DocumentLinks& old, const DocumentLinks& now,
                    const std::vector<NewTarget>& targets) {
    const std::string differs = "the new document does not read as it should: ";
    if (now.links.size() != old.links.size()) return differs + "other links are in it";
    auto target = targets.begin();
    for (std::size_t i = 0; i < old.links.size(); ++i) {
        const bool isNew = target != targets.end() && target->link == i;
        const std::string& expected = isNew ? target->colonPath : old.links[i].value.text;
        if (now.links[i].value.text != expected)
            return differs + now.links[i].value.path + " leads to " + now.links[i].value.text;
        if (isNew) ++target;
    }
    return {};
}

std::string ReadAgain(const DocumentLinks& old, const FileSpec& file, const Layout& layout,
                      const filref& base, const std::vector<NewTarget>& targets) {
    DocumentLinks now;
    if (const auto fault = ReadLinks(file, layout, &base, &now))
        return "the new document does not read as it should: at " +
               std::to_string(fault->position) + ", " + fault->path + ": " + fault->what;
    return Compare(old, now, targets);
}

bool HasChanged(const DocumentLinks& document) {
    unsigned int date = 0;
    return fileModificationDate(document.file, date) != 0 || date != document.date;
}

std::string LastErrorMessage(OSErr code) {
    lasterror = code;
    return GetFileErrorMessage(nullptr);
}

// The finished new document; `file` is where it lies, also when something went wrong.
std::string WriteBeside(const DocumentLinks& document, const filref& base,
                        const std::vector<NewTarget>& targets, FileSpec* file) {
    fil out;
    const bool opened = filsavtem(&out, nullptr, &base, 0, nullptr) == 0;
    // It may have been created and not opened; what another program created is not ours.
    if (opened || (out.sys != nullptr && out.sys->error != dupFNErr)) out.GetFileSpec(*file);
    if (!opened) return GetFileErrorMessage(&out);
    std::string problem = Copy(document, targets, base, &out).Make();
    if (problem.empty() && filflu(&out) != 0) problem = GetFileErrorMessage(&out);
    if (out.Close() != 0 && problem.empty()) problem = GetFileErrorMessage(nullptr);
    return problem;
}

}  // namespace

Rewritten RewriteLinks(const DocumentLinks& document, const Layout& layout,
                       const std::vector<NewTarget>& targets) {
    const std::int64_t most =
        document.size + kMostGrowth * static_cast<std::int64_t>(targets.size());
    if (most >= std::numeric_limits<int>::max()) return {false, LastErrorMessage(posErr)};
    filref base;
    if (base.convertFromFileSpec(document.file) != 0) return {false, LastErrorMessage(memFullErr)};

    FileSpec file;
    Rewritten result;
    result.problem = WriteBeside(document, base, targets, &file);
    if (result.problem.empty()) result.problem = ReadAgain(document, file, layout, base, targets);
    if (result.problem.empty() && HasChanged(document))
        result.problem = "another program has changed the document in the meantime";
    if (result.problem.empty() && cancel(0, 0) != 0) result.problem = kStopped;
    FileSpecFunctions functions;
    if (result.problem.empty()) {
        if (!functions.ReplaceFile(file, document.file))
            result.problem = LastErrorMessage(functions.errorCode);
        result.saved = !file.DoesExist();
    }
    if (!result.saved && file.IsValid()) functions.DeleteFile(file, false);
    return result;
}

}  // namespace OndrelTool

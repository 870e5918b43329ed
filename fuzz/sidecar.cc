// AppleDouble files: any bytes are read as one, whole and without its fork. What could be read must
// survive a change of the rest.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Require.h"
#include "ondrel/platform/AppleDouble.h"

using namespace Ondrel;
using OndrelFuzz::Require;

namespace {

// The bytes of an entry of another kind than the two that are changed.
using Others = std::vector<std::string>;

Others OthersOf(std::string_view bytes) {
    Others others;
    const auto table = ReadAppleDoubleTable(bytes, bytes.size());
    Require(table.has_value());
    for (const AppleDoubleEntry& entry : *table) {
        const bool isOurs = entry.id == kEntryFinderInfo || entry.id == kEntryResourceFork;
        if (!isOurs && entry.length > 0)
            others.emplace_back(bytes.substr(entry.offset, entry.length));
    }
    return others;
}

AppleDouble Reread(const AppleDouble& sidecar) {
    auto again = AppleDouble::Parse(sidecar.Bytes());
    Require(again.has_value());
    return *again;
}

void ChangeFork(AppleDouble sidecar) {
    const FinderInfo info = sidecar.GetFinderInfo();
    const Others others = OthersOf(sidecar.Bytes());
    for (const std::string& fork : {std::string("new"), std::string(2000, 'x'), std::string()}) {
        if (!sidecar.SetResourceFork(fork)) return;
        const AppleDouble again = Reread(sidecar);
        Require(again.GetResourceFork() == fork && again.GetFinderInfo().bytes == info.bytes);
        Require(OthersOf(again.Bytes()) == others);
    }
}

void ChangeFinderInfo(AppleDouble sidecar) {
    const std::string fork(sidecar.GetResourceFork());
    const Others others = OthersOf(sidecar.Bytes());
    FinderInfo info = sidecar.GetFinderInfo();
    info.SetType(MakeFourCC("TEXT"));
    info.SetCreator(MakeFourCC("ttxt"));
    info.SetFlags(static_cast<std::uint16_t>(~info.Flags()));
    sidecar.SetFinderInfo(info);
    const AppleDouble again = Reread(sidecar);
    Require(again.GetFinderInfo().bytes == info.bytes && again.GetResourceFork() == fork);
    Require(OthersOf(again.Bytes()) == others && !again.IsEmpty());
}

// The two steps of those who have the fork elsewhere give what the one step gives.
void ChangeWithoutFork(const std::string& bytes) {
    const auto table = ReadAppleDoubleTable(bytes, bytes.size());
    if (!table) return;
    const auto start = AppleDouble::StartOfLastFork(*table);
    if (!start) return;
    auto sidecar = AppleDouble::ParseWithoutFork(bytes.substr(0, *start), bytes.size());
    auto whole = AppleDouble::Parse(bytes);
    Require(sidecar.has_value() && whole.has_value());
    Require(sidecar->GetFinderInfo().bytes == whole->GetFinderInfo().bytes);
    const std::string fork = "announced";
    Require(sidecar->AnnounceResourceFork(fork.size()) && whole->SetResourceFork(fork));
    Require(sidecar->Bytes() + fork == whole->Bytes());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    ChangeWithoutFork(bytes);
    const auto sidecar = AppleDouble::Parse(bytes);
    if (!sidecar) return 0;
    Require(sidecar->Bytes() == bytes);
    (void)sidecar->IsEmpty();
    ChangeFork(*sidecar);
    ChangeFinderInfo(*sidecar);
    return 0;
}

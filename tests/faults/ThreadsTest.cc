// Eight threads at once, each with streams, references, searches and previews of its own: every one
// reads back what it wrote, whatever the others do. Run under the preset tsan this shows that
// nothing of the library is shared without a lock.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "ondrel/core/FileEnumeration.h"
#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileSupport.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/fil/direct.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/filref/genericpath.h"
#include "ondrel/filref/operations.h"
#include "ondrel/platform/FileCodes.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/preview/pictpreview.h"
#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"
#include "ondrel/search/search.h"
#include "tests/core/SpecHelpers.h"
#include "tests/faults/DocumentSteps.h"
#include "tests/faults/LongForm.h"
#include "tests/faults/TransferWays.h"
#include "tests/platform/RingHelpers.h"
#include "tests/preview/Pixels.h"

namespace Ondrel::Testing {
namespace {

constexpr int kThreads = 8;

// One thread's work in a folder of its own. Checks are counted, for the test framework is asked
// from one thread only.
class Worker {
 public:
    Worker(const Scratch& scratch, int number)
        : name_("t" + std::to_string(number)), folder_(scratch.MakeFolder(name_)) {}

    void Run(int rounds) {
        for (int round = 0; round < rounds; ++round) {
            WriteAndRead(round);
            SaveSafelyAndSwap(round);
            AccessDirectly();
            SearchAndList();
            PreviewAndResources();
            ConvertReferences(round);
        }
    }

    int Failures() const { return failures_; }
    const std::string& FirstFailure() const { return first_; }

 private:
    void Check(bool condition, const char* what) {
        if (condition) return;
        if (failures_++ == 0) first_ = name_ + ": " + what;
    }

    filref Ref(const std::string& file) const {
        filref ref;
        ref.ConvertFromMacPath(("Test:" + name_ + ":" + file).c_str());
        return ref;
    }

    FileSpec Spec(const std::string& file) const { return SpecOf(folder_ + "/" + file); }

    std::string Text(int round) const {
        return std::string(20000, static_cast<char>('a' + round % 26)) + name_;
    }

    void WriteAndRead(int round) {
        const filref ref = Ref("doc");
        const filref target = Ref("sub:pic");
        fil f;
        Check(filsav(&f, nullptr, &ref, 0) == 0, "filsav");
        const int marker = filwripos(&f);
        filwristring(&f, Text(round));
        Check(filwrirefrel(&f, ref, target, 1) == 0, "filwrirefrel");
        Check(filwrilen(&f, marker) == 0, "filwrilen");
        Check(filflu(&f) == 0 && filclo(&f) == 0, "close");
        Check(filope(&f, nullptr, ref) == 0, "filope");
        const int end = filreapos(&f);
        Check(filreastring(&f) == Text(round), "filreastring");
        filref read;
        Check(filrearefrel(&f, ref, read, nullptr) == 0 && read == target, "filrearefrel");
        Check(filpos(&f) == end, "filreapos");
        filclo(&f);
        // What went wrong is each thread's own.
        Check(filope(&f, nullptr, Ref("missing")) == fnfErr, "a missing file");
        Check(fildel(Ref("missing")) == -1 && lasterror == fnfErr, "lasterror");
        Check(GetFileErrorMessage(nullptr).find("#-43") != std::string::npos, "the message");
    }

    void SaveSafelyAndSwap(int round) {
        const filref document = Ref("doc");
        FileSpec finished;
        fil f;
        Check(filsavtem(&f, nullptr, &document, 0, nullptr) == 0, "filsavtem");
        f.GetFileSpec(finished);
        Check(filwri32(&f, round) == 0 && filflu(&f) == 0 && filclo(&f) == 0, "the new version");
        Check(FileSpecFunctions().ReplaceFile(finished, Spec("doc")), "ReplaceFile");
        Check(filope(&f, nullptr, document) == 0 && filrea32(&f) == round, "the new document");
        filclo(&f);
    }

    void AccessDirectly() {
        unsigned char bytes[100];
        fil f;
        Check(filasyope(&f, Ref("doc"), true) == 0, "filasyope");
        Check(filasywri(&f, 4, reinterpret_cast<const unsigned char*>("direct"), 6) == 0, "write");
        Check(filasyrea(&f, 4, bytes, 6) == 0, "read");
        while (filasydon(&f) == 0) {
        }
        Check(std::string(bytes, bytes + 6) == "direct", "the bytes");
        filclo(&f);
    }

    void SearchAndList() {
        filref lost;
        lost.ConvertFromMacPath(("Test:" + name_ + ":elsewhere:needle " + name_).c_str());
        WriteAll(folder_ + "/needle " + name_, "x");
        filref above;
        above.ConvertFromMacPath(("Test:" + name_ + ":needle " + name_).c_str());
        Check(filsea(above, 0, true) == 1, "filsea");
        int found = 0;
        filref volume;
        volume.ConvertFromMacPath(("Test:needle " + name_).c_str());
        (void)SearchVolume(volume, [&](const std::string&) { return ++found; });
        Check(found == 1, "SearchVolume");
        FileEnumeration items(SpecOf(folder_));
        bool hasDocument = false;
        for (bool more = items.First(); more; more = items.Next()) {
            std::string name;
            items.GetItemSpecification().GetName(name);
            hasDocument = hasDocument || name == "doc";
        }
        Check(hasDocument, "the folder's items");
    }

    void PreviewAndResources() {
        const OwnedPix picture = NoiseMap(24, 20, 1);
        filpictpreview(Spec("doc"), picture.get(), 72, nullptr);
        FSRef ref;
        HFSUniStr255 fork;
        short number = 0;
        Check(FSPathMakeRef((folder_ + "/doc").c_str(), &ref) == noErr, "FSPathMakeRef");
        Check(FSGetResourceForkName(&fork) == noErr, "the fork's name");
        Check(FSOpenResourceFile(&ref, fork.length, fork.unicode, fsRdPerm, &number) == noErr,
              "FSOpenResourceFile");
        Check(Get1Resource(MakeFourCC("PICT"), 256) != nullptr && ResError() == noErr,
              "the picture");
        CloseResFile(number);
        FileCodes codes;
        codes.type = kDataType;
        Check(SetFileCodes((folder_ + "/doc").c_str(), codes) == noErr, "SetFileCodes");
    }

    void ConvertReferences(int round) {
        const std::string volume = "Volume " + name_;
        Check(MountVolume(volume.c_str(), folder_.c_str()), "MountVolume");
        filref ref;
        ref.ConvertFromMacPath((volume + ":doc").c_str());
        FileSpec spec;
        Check(ref.convertToFileSpec(spec) == 0 && spec.DoesExist(), "convertToFileSpec");
        std::string generic;
        filref back;
        Check(filrefToGeneric(ref, generic) && GenericPathToFilref(generic, back), "generic");
        Check(back == ref, "the way back");
        Check(UnmountVolume(volume.c_str()), "UnmountVolume");
        if (round % 4 == 0) {
            FileSpec folder;
            Check(FileSupport::GetPredefinedFolder(folder, FileSupport::kTemporaryItems, true) ==
                      noErr,
                  "the temporary folder");
        }
    }

    std::string name_;
    std::string folder_;
    int failures_ = 0;
    std::string first_;
};

void RunEightAtOnce() {
    const Scratch scratch;
    ASSERT_TRUE(MountVolume("Test", scratch.Path().c_str()));
    const std::string temporary = std::filesystem::temp_directory_path();
    setenv("TMPDIR", scratch.Path().c_str(), 1);
    std::vector<Worker> workers;
    workers.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
        workers.emplace_back(scratch, i);
    std::vector<std::thread> threads;
    threads.reserve(workers.size());
    for (Worker& worker : workers)
        threads.emplace_back([&] { worker.Run(ShortOrLong(4, 200)); });
    for (std::thread& thread : threads)
        thread.join();
    setenv("TMPDIR", temporary.c_str(), 1);
    UnmountVolume("Test");
    for (const Worker& worker : workers)
        EXPECT_EQ(worker.Failures(), 0) << worker.FirstFailure();
}

TEST(Threads, EightAtOnceEachReadBackWhatTheyWrote) {
    RunEightAtOnce();
}

// All of them share the one ring of the process.
TEST(Threads, EightAtOnceWhoseReadsAllHaveToWaitDoSoToo) {
    const OnTransferWay cold(TransferWays()[1]);
    RunEightAtOnce();
    EXPECT_EQ(OnTransferWay::RingReads() > 0, HostHasRing());
}

}  // namespace
}  // namespace Ondrel::Testing

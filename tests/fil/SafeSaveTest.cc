// Temporary files and the flush.
#include "ondrel/fil/safesave.h"

#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileType.h"
#include "ondrel/fil/temporaryname.h"
#include "ondrel/filref/operations.h"
#include "tests/fil/StreamTest.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

class SafeSaveTest : public StreamTest {
 protected:
    SafeSaveTest() {
        const char* const before = getenv("TMPDIR");
        hadTmpdir_ = before != nullptr;
        if (hadTmpdir_) tmpdir_ = before;
        setenv("TMPDIR", scratch_.MakeFolder("tmp").c_str(), 1);
    }
    ~SafeSaveTest() override {
        if (hadTmpdir_)
            setenv("TMPDIR", tmpdir_.c_str(), 1);
        else
            unsetenv("TMPDIR");
    }

    std::string TemporaryItems() const {
        return Path("tmp/TemporaryItems-" + std::to_string(geteuid()));
    }
    static std::string PathOf(const fil& f) {
        FileSpec spec;
        f.GetFileSpec(spec);
        std::string path;
        spec.GetFullPath(path);
        return path;
    }

 private:
    std::string tmpdir_;
    bool hadTmpdir_ = false;
};

struct Name {
    FourCC signature;
    unsigned int ticks;
    const char* name;
};

constexpr Name kNames[] = {
    {0x41207FC3, 0, "A???0 Temp"},
    {MakeFourCC("Mine"), 123456, "Mine123456 Temp"},
    {0x21FF7E00, 4294967295U, "!?~?4294967295 Temp"},
    {MakeFourCC("a:/\\"), 7, "a?/\\7 Temp"},
    {MakeFourCC("????"), 1, "????1 Temp"},
};

TEST_F(SafeSaveTest, TheNameIsMadeOfTheCreatorAndTheClock) {
    for (const Name& row : kNames) {
        char name[kTemporaryNameSize];
        FormatTemporaryName(row.signature, row.ticks, name);
        EXPECT_STREQ(name, row.name);
    }
}

TEST_F(SafeSaveTest, WithoutAFolderTheFileLandsAmongTheTemporaryItems) {
    const filref empty = Ref("");
    filref nothing;
    nothing.allocate();
    for (const filref* folder :
         {static_cast<const filref*>(nullptr), static_cast<const filref*>(&nothing)}) {
        fil f;
        ASSERT_EQ(filsavtem(&f, nullptr, folder, 0, nullptr), 0);
        EXPECT_EQ(f.sys->mode, kFilModeWrite);
        const std::string path = PathOf(f);
        EXPECT_EQ(std::filesystem::path(path).parent_path().string(), TemporaryItems());
        EXPECT_TRUE(path.ends_with(" Temp")) << path;
        EXPECT_EQ(filwri8(&f, 'x'), 0);
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_EQ(ReadAll(path), "x");
    }
    struct stat status;
    ASSERT_EQ(stat(TemporaryItems().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(SafeSaveTest, AFolderThatIsNotOursIsNotUsed) {
    scratch_.MakeFolder("tmp");
    std::filesystem::create_directory(TemporaryItems());
    chmod(TemporaryItems().c_str(), 0777);
    errtyp e;
    fil f;
    EXPECT_EQ(Try(e, [&] { return filsavtem(&f, &e, nullptr, 0, nullptr); }), Raised(-1));
    EXPECT_EQ(f.sys->error, -54);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_TRUE(std::filesystem::is_empty(TemporaryItems()));
}

TEST_F(SafeSaveTest, AFolderAndANameGiveTheFile) {
    scratch_.Write("dir/a", "old");
    const filref folder = Ref("dir:");
    fil f;
    ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, "new"), 0);
    EXPECT_EQ(PathOf(f), Path("dir/new"));
    EXPECT_EQ(filclo(&f), 0);
    const filref sibling = Ref("dir:doc");
    ASSERT_EQ(filsavtem(&f, nullptr, &sibling, 0, "a"), 0) << "an existing file is deleted";
    EXPECT_EQ(Contents("dir/a"), "");
    EXPECT_EQ(filclo(&f), 0);
    ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, "a/b\\c"), 0) << "one Mac name";
    EXPECT_EQ(PathOf(f), Path("dir/a:b\\c"));
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(SafeSaveTest, TheFileCarriesTheCodesOfItsType) {
    RegisterFileType({2101, MakeFourCC("ttxt"), MakeFourCC("TEXT"), ".txt"});
    const filref folder = Ref("dir:");
    scratch_.MakeFolder("dir");
    fil f;
    ASSERT_EQ(filsavtem(&f, nullptr, &folder, 2101, "a"), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Hex(Contents("dir/._a").substr(50, 8)), "54 45 58 54 74 74 78 74");
}

TEST_F(SafeSaveTest, ATakenNameIsTriedAgainWithTheNextTick) {
    const filref folder = Ref("dir:");
    scratch_.MakeFolder("dir");
    std::string before;
    for (int i = 0; i < 5; ++i) {
        fil f;
        ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, nullptr), 0);
        EXPECT_NE(PathOf(f), before);
        before = PathOf(f);
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_TRUE(Exists(before));
    }
}

TEST_F(SafeSaveTest, AFolderThatIsMissingFails) {
    const filref folder = Ref("no:");
    fil f;
    EXPECT_EQ(filsavtem(&f, nullptr, &folder, 0, nullptr), -1);
    EXPECT_EQ(f.sys->error, -43);
    EXPECT_EQ(filclo(&f), 0);
    errtyp e;
    EXPECT_EQ(Try(e, [&] { return filsavtem(&f, &e, &folder, 0, "a"); }), Raised(-1));
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(SafeSaveTest, OverLongNamesFailWithTheirCode) {
    scratch_.MakeFolder("dir");
    const filref folder = Ref("dir:");
    fil f;
    EXPECT_EQ(filsavtem(&f, nullptr, &folder, 0, std::string(300, 'n').c_str()), -1);
    EXPECT_EQ(f.sys->error, -37);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(SafeSaveTest, AFullFileSystemOfTheTemporaryLeavesTheDocumentAlone) {
    const std::string folder = scratch_.MakeFolder("small");
    if (mount("none", folder.c_str(), "tmpfs", 0, "size=64k") != 0)
        GTEST_SKIP() << "a small file system cannot be mounted here";
    setenv("TMPDIR", folder.c_str(), 1);
    scratch_.Write("doc", "old");
    const std::string block(16384, 'b');
    {
        fil f;
        EXPECT_EQ(filsavtem(&f, nullptr, nullptr, 0, nullptr), 0);
        int written = 0;
        for (int i = 0; i < 10 && written == 0; ++i)
            written = filwri(&f, AsBytes(block), 16384);
        EXPECT_EQ(written, -1);
        EXPECT_EQ(f.sys->error, -34);
        EXPECT_TRUE(GetFileErrorMessage(&f).starts_with("Disk full error (#-34) while writing"));
        EXPECT_EQ(filflu(&f), -1);
        EXPECT_EQ(filclo(&f), 0);
    }
    EXPECT_EQ(umount2(folder.c_str(), MNT_DETACH), 0);
    EXPECT_EQ(Contents("doc"), "old");
}

// --- Flush --------------------------------------------------------------------------------------

TEST_F(SafeSaveTest, AFlushKeepsThePositionAndWritesWhatIsBuffered) {
    for (const int size : {1, 5, 16383, 16384, 16385, 40000}) {
        const std::string pattern = WritePattern("pattern", size);
        const filref ref = Ref("a");
        fil f;
        ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
        ASSERT_EQ(filwri(&f, AsBytes(pattern), size), 0);
        EXPECT_EQ(filflu(&f), 0);
        EXPECT_EQ(filpos(&f), size);
        EXPECT_EQ(Contents("a"), pattern);
        EXPECT_EQ(filflu(&f), 0) << "again, with nothing new";
        EXPECT_EQ(filpos(&f), size);
        ASSERT_EQ(filwri8(&f, 'e'), 0);
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_EQ(Contents("a"), pattern + "e");
    }
}

TEST_F(SafeSaveTest, AFlushInTheMiddleOfABufferKeepsItsHighWaterMark) {
    const filref ref = Ref("a");
    fil f;
    ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
    ASSERT_EQ(filwri32(&f, 0x41424344), 0);
    ASSERT_EQ(filpos(&f, 1), 0);
    EXPECT_EQ(filflu(&f), 0);
    EXPECT_EQ(filpos(&f), 1);
    EXPECT_EQ(Contents("a"), "ABCD");
    ASSERT_EQ(filwri8(&f, 'x'), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), "AxCD");
}

TEST_F(SafeSaveTest, NothingWrittenNothingFlushed) {
    const filref ref = Ref("a");
    fil f;
    ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
    FaultPlan count(1000000, EIO);
    EXPECT_EQ(filflu(&f), 0);
    EXPECT_EQ(count.Calls(), 0);
}

TEST_F(SafeSaveTest, FileAndFolderAreFlushed) {
    const filref ref = Ref("a");
    for (const char* call : {"fdatasync", "fsync"}) {
        fil f;
        ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
        ASSERT_EQ(filwri8(&f, 'x'), 0);
        FaultPlan count(1000000, EIO, call);
        EXPECT_EQ(filflu(&f), 0);
        EXPECT_GE(count.Calls(), 1) << call;
    }
}

TEST_F(SafeSaveTest, TheFolderOfAMadeUpNameIsLeftToTheSwap) {
    scratch_.Write("dir/doc", "old");
    const filref folder = Ref("dir:");
    FileSpec document;
    ASSERT_EQ(Ref("dir:doc").convertToFileSpec(document), 0);
    FileSpec finished;
    fil f;
    ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, nullptr), 0);
    ASSERT_EQ(filwri32(&f, 0x6E657721), 0);
    {
        FaultPlan folders(1000, EIO, "fsync");
        EXPECT_EQ(filflu(&f), 0);
        EXPECT_EQ(folders.Calls(), 0);
    }
    f.GetFileSpec(finished);
    ASSERT_EQ(filclo(&f), 0);
    {
        FaultPlan files(1000, EIO, "fdatasync");
        EXPECT_TRUE(FileSpecFunctions().ReplaceFile(finished, document));
        EXPECT_EQ(files.Calls(), 0) << "flushed already";
    }
    EXPECT_EQ(Contents("dir/doc"), "new!");
}

TEST_F(SafeSaveTest, TheSwapFlushesWhatWasNotFlushedAndItsFolder) {
    scratch_.Write("dir/doc", "old");
    const filref folder = Ref("dir:");
    FileSpec document;
    ASSERT_EQ(Ref("dir:doc").convertToFileSpec(document), 0);
    for (const char* call : {"fdatasync", "fsync"}) {
        FileSpec finished;
        fil f;
        ASSERT_EQ(filsavtem(&f, nullptr, &folder, 0, nullptr), 0);
        ASSERT_EQ(filwri32(&f, 0x6E657721), 0);
        f.GetFileSpec(finished);
        ASSERT_EQ(filclo(&f), 0);
        FaultPlan flushes(1000, EIO, call);
        EXPECT_TRUE(FileSpecFunctions().ReplaceFile(finished, document));
        EXPECT_EQ(flushes.Calls(), 1) << call;
    }
}

TEST_F(SafeSaveTest, MisuseIsReported) {
    fil f;
    EXPECT_EQ(filflu(&f), -1);
    scratch_.Write("a", "x");
    ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
    EXPECT_EQ(filflu(&f), -1);
    EXPECT_EQ(Messages(), (std::vector<std::string>{"File not open.", "File not open for write."}));
}

struct FlushFailure {
    const char* call;
    int number;
    short code;
};

constexpr FlushFailure kFlushFailures[] = {
    {"pwrite", ENOSPC, -34}, {"fdatasync", EIO, -36}, {"fsync", EIO, -36}, {"openat", EMFILE, -42}};

TEST_F(SafeSaveTest, AFailedFlushIsLatchedUntilTheStreamIsMoved) {
    const filref ref = Ref("a");
    for (const FlushFailure& failure : kFlushFailures) {
        errtyp e;
        fil f;
        ASSERT_EQ(filsav(&f, &e, &ref, 0), 0);
        ASSERT_EQ(filwri8(&f, 'x'), 0);
        {
            FaultPlan failing(1, failure.number, failure.call);
            EXPECT_EQ(Try(e, [&] { return filflu(&f); }), Raised(-1)) << failure.call;
        }
        EXPECT_EQ(f.sys->error, failure.code) << failure.call;
        EXPECT_EQ(f.count, 0);
        filerr(&f, nullptr);
        EXPECT_EQ(filwri8(&f, 'y'), -1);
        EXPECT_EQ(filflu(&f), -1);
        EXPECT_EQ(filpos(&f, 0), 0);
        EXPECT_EQ(filwri8(&f, 'y'), 0);
        EXPECT_EQ(filflu(&f), 0);
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_EQ(Contents("a"), "y");
    }
}

}  // namespace
}  // namespace Ondrel::Testing

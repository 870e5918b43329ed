// The status of a stream and the sentences for the user.
#include <filesystem>

#include "tests/fil/StreamTest.h"

namespace Ondrel::Testing {
namespace {

using MessagesTest = StreamTest;

struct Message {
    short code;
    const char* text;
};

constexpr Message kMessages[] = {
    {-34, "Disk full error (#-34)"},
    {-39, "Unexpected end of file error (#-39)"},
    {-47, "File already open error (#-47)"},
    {-45, "File locked error (#-45)"},
    {-43, "File not found error (#-43)"},
    {-36, "I/O error (#-36)"},
    {-108, "Memory full error (#-108)"},
    {-40, "Position error (#-40: file too large?)"},
    {0, "Error #0"},
    {-49, "Error #-49"},
    {-50, "Error #-50"},
    {-54, "Error #-54"},
    {32767, "Error #32767"},
    {-32768, "Error #-32768"},
};

TEST_F(MessagesTest, WithoutAStreamTheLastErrorIsTold) {
    for (const Message& message : kMessages) {
        lasterror = message.code;
        EXPECT_EQ(GetFileErrorMessage(nullptr),
                  std::string(message.text) + " while handling a file.");
        EXPECT_EQ(lasterror, message.code);
    }
}

TEST_F(MessagesTest, AClosedStreamHasNoError) {
    const fil f;
    EXPECT_EQ(GetFileErrorMessage(&f), "Unknown error while handling a file.");
    EXPECT_EQ(filerr(&f), -2);
}

TEST_F(MessagesTest, AStreamTellsItsErrorItsOperationAndItsPath) {
    scratch_.Write("a", "x");
    fil f;
    ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
    for (const Message& message : kMessages) {
        f.sys->error = message.code;
        lasterror = -36;
        f.sys->mode = kFilModeRead;
        EXPECT_EQ(GetFileErrorMessage(&f),
                  std::string(message.text) + " while reading file Test:a.");
        EXPECT_EQ(lasterror, 0) << "asking for a stream's message clears it";
        f.sys->mode = kFilModeWrite;
        EXPECT_EQ(GetFileErrorMessage(&f),
                  std::string(message.text) + " while writing file Test:a.");
        for (const unsigned short mode : {std::uint16_t{0}, std::uint16_t{4}}) {
            f.sys->mode = mode;
            EXPECT_EQ(GetFileErrorMessage(&f),
                      std::string(message.text) + " while opening file Test:a.");
        }
        f.sys->mode = kFilModeRead;
    }
}

TEST_F(MessagesTest, TheEndOfAFileReadsAsASentence) {
    scratch_.Write("b\xC3\xA4r", "");
    fil f;
    ASSERT_EQ(filope(&f, nullptr, Ref("b\xC3\xA4r")), 0);
    EXPECT_EQ(filrea8(&f), -3);
    EXPECT_EQ(GetFileErrorMessage(&f),
              "Unexpected end of file error (#-39) while reading file Test:b\xC3\xA4r.");
}

TEST_F(MessagesTest, AnEmptyPathStillMakesASentence) {
    fil f;
    ASSERT_EQ(filope(&f, nullptr, filref()), -1);
    EXPECT_EQ(GetFileErrorMessage(&f), "Error #-1 while opening file .");
    filclo(&f);
}

TEST_F(MessagesTest, AFailureBeforeTheForkIsOpenIsOneOfOpening) {
    scratch_.MakeFolder("folder");
    fil f;
    const filref ref = Ref("folder");
    ASSERT_EQ(filsav(&f, nullptr, &ref, 0), -1);
    EXPECT_EQ(f.sys->mode, 0);
    EXPECT_EQ(filerr(&f), -1);
    EXPECT_NE(GetFileErrorMessage(&f).find(" while opening file "), std::string::npos);
    filclo(&f);
}

TEST_F(MessagesTest, TheStatusIs0WhileBytesAreLeft) {
    scratch_.Write("a", "xy");
    fil f;
    ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
    EXPECT_EQ(filerr(&f), 0);
    ASSERT_EQ(filrea8(&f), 'x');
    EXPECT_EQ(f.sys->error, -39) << "the short buffer has met the end";
    EXPECT_EQ(filerr(&f), 0);
    ASSERT_EQ(filrea8(&f), 'y');
    EXPECT_EQ(filerr(&f), -3);
    f.sys->error = -36;
    EXPECT_EQ(filerr(&f), -1);
    f.sys->error = 0;
    EXPECT_EQ(filerr(&f), 0);
    f.sys->mode = kFilModeDirect;
    EXPECT_EQ(filerr(&f), -1);
    f.sys->mode = kFilModeRead;
}

}  // namespace
}  // namespace Ondrel::Testing

// Documents and streams of the record tests.
#ifndef TESTS_RECORDS_STREAMS_H
#define TESTS_RECORDS_STREAMS_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "ondrel/fil/fil.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

// A file in a scratch folder of its own.
class Document {
 public:
    explicit Document(std::string_view bytes = {}) : path_(scratch_.Write("document", bytes)) {}

    std::string Bytes() const { return ReadAll(path_); }

    // Opens it for reading and reads `skip` bytes.
    void Open(fil* f, int skip = 0) const;

    // Replaces it by an empty file, open for writing, and writes `skip` bytes of 'p'.
    void Save(fil* f, int skip = 0) const;

 private:
    Scratch scratch_;
    std::string path_;
};

// The bytes that `write(&f)` writes behind `skip` others.
template <typename Write>
std::string Written(const Write& write, int skip = 0) {
    const Document document;
    fil f;
    document.Save(&f, skip);
    write(&f);
    EXPECT_EQ(filclo(&f), 0);
    return document.Bytes().substr(static_cast<std::size_t>(skip));
}

// Runs `operation` with an error context armed: the code that it raised, or 0 when it returned.
// The stream has no context afterwards.
template <typename Operation>
int RaisedBy(fil* f, const Operation& operation) {
    errtyp context;
    const int code = setjmp(context.context);
    if (code == 0) {
        filerr(f, &context);
        operation();
    }
    EXPECT_EQ(filerr(f, nullptr), &context) << "the context was lost";
    return code;
}

// A reference that holds exactly this text.
filref Reference(std::string_view text);

// Its text; "(null)" without storage.
std::string TextOf(const filref& ref);

}  // namespace Ondrel::Testing

#endif

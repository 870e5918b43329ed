// Files that others wrote, kept beside the checkout with a manifest that tells what is in each.
// They are in no repository of ours: a test that wants them is skipped where they are absent.
#ifndef TESTS_SUPPORT_CORPUS_H
#define TESTS_SUPPORT_CORPUS_H

#include <string>
#include <string_view>
#include <vector>

namespace Ondrel::Testing {

// The folder of the corpus: $ONDREL_CORPUS, else the one beside the checkout. Empty when neither is
// there.
std::string CorpusFolder();

// One row of the manifest.
struct CorpusFile {
    std::string name;       // "forks/ad_..."
    std::string path;       // the file itself
    std::string kind;       // "pict/raster16"
    std::string content;    // what the manifest says is in it
    std::string size;       // of a picture: "450x280"
    std::string reference;  // a PNG file; empty for none
    std::string certainty;  // how far that can be trusted
    std::string remarks;
};

// The rows whose names start with that text. Empty when there is no corpus.
std::vector<CorpusFile> CorpusFiles(std::string_view start);

}  // namespace Ondrel::Testing

#endif

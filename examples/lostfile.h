// A linked file gets lost and is found again: what an application does when a link leads nowhere.
#ifndef EXAMPLES_LOSTFILE_H
#define EXAMPLES_LOSTFILE_H

#include <filesystem>
#include <string>
#include <vector>

namespace Example {

struct LostFileReport {
    std::string message;  // of the step that failed; empty where all went well

    std::string linked;                 // the link, as the document stores it
    std::filesystem::path hidden;       // where the file was moved to
    bool wasLost = false;               // the link led nowhere then
    bool wasFound = false;              // the search below the link's own folder found the file
    std::string repaired;               // the link that the document stores now
    bool holds = false;                 // opened again, it leads to the same content
    std::vector<std::string> onVolume;  // what the search of the whole volume finds under the name
};

// Makes a document in `home`, which lies on a mounted volume, with a link to a copy of `original`
// that has an accent in its name. Moves that file two folders deeper, where its name is stored in
// another composition; then opens the document, finds the file and repairs the link.
LostFileReport LoseAndFind(const std::filesystem::path& home,
                           const std::filesystem::path& original);

}  // namespace Example

#endif

// A contact sheet: the documents below a folder with their pictures, and the two forms it takes.
#ifndef TOOLS_ONDREL_SHEET_H
#define TOOLS_ONDREL_SHEET_H

#include <optional>
#include <string>
#include <vector>

#include "tools/ondrel/Pixels.h"

namespace OndrelTool {

// No side of a card's picture is longer; on the sheet it takes half of that, so that it is sharp on
// a fine screen as well.
inline constexpr int kCardPixels = 320;

struct Card {
    std::string path;               // full
    std::string name;               // from the folder on
    std::optional<Pixels> picture;  // nothing: the document has none
    int width = 0;                  // of the whole picture, where there is one
    int height = 0;
};

struct Sheet {
    std::string title;
    std::vector<Card> cards;
};

// A page that holds its pictures and needs no other file. Names lead to the documents, relative to
// the folder that the page is written to.
std::string SheetAsHtml(const Sheet& sheet, const std::string& pageFolder);

// A picture. Throws a Failure where the sheet has more cards than one holds.
std::string SheetAsPng(const Sheet& sheet);

}  // namespace OndrelTool

#endif

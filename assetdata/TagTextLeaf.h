// Makes leaves from the text of their values: a number, a list of floats, an identifier or a text.
//
// docs/formats/tag-text.md has the rules. Every text makes a leaf; what a program would read
// differently than it is written is reported.
#pragma once

#include <string>

#include "assetdata/OCSChunk.h"
#include "assetdata/TagObserver.h"

namespace Vorn {

// The entry that is being read, and the observer of its faults.
struct TagTextEntry {
    TagObserver* observer = nullptr;       // may be null
    const InternedString* name = nullptr;  // borrowed; set before anything is reported
    TagPlace place;                        // of the name
    TagPlace valuePlace;                   // set for values without quotes

    void Report(TagFault fault, const TagPlace& where) const;
};

// Makes the leaf of a value without quotes. `endsLine` is false if a '}' ended it: then it is never
// a number. Uses `text` as its workspace.
[[nodiscard]] OCSChunkRef MakeBareLeaf(const TagTextEntry& entry, std::string& text, bool endsLine,
                                       bool isUtf8);

// Makes the leaf of a text: an identifier if it begins like one, else the text itself. A text that
// is not UTF-8 is in the ANSI code page. Uses `text` as its workspace.
[[nodiscard]] OCSChunkRef MakeTextLeaf(const TagTextEntry& entry, std::string& text, bool isUtf8);

}  // namespace Vorn

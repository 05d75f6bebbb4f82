// One of the two sides that a patch is made of.
#pragma once

#include <string>

#include "archive/Reader.h"
#include "archive/Tree.h"
#include "patch/Error.h"

namespace patch {

// Borrows what it names.
struct Input {
    std::string path;  // for messages
    const archive::Tree& tree;
    const archive::Reader* reader = nullptr;  // of the tree; null for a folder
};

}  // namespace patch

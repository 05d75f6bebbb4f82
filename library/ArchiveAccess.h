// The data of va::Archive, shared with the other sources of the library.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "archive/Reader.h"
#include "archive/Tree.h"
#include "vaconverter/archive.h"

namespace va {

struct Archive::Impl {
    std::filesystem::path path;
    std::unique_ptr<archive::Tree> tree;
    const archive::Reader* reader = nullptr;  // of the tree; null for a folder
    ArchiveInfo info;
    std::vector<Member> members;
    std::vector<LeftOut> skipped;
};

// Gives the other sources the tree of an archive.
struct ArchiveAccess {
    [[nodiscard]] static const archive::Tree& TreeOf(const Archive& archive) {
        return *archive.impl_->tree;
    }
    [[nodiscard]] static const archive::Reader* ReaderOf(const Archive& archive) {
        return archive.impl_->reader;
    }
};

}  // namespace va

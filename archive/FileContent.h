// Reads a file of the file system as the content of a member. One thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "archive/Error.h"
#include "platform/Files.h"

namespace archive {

class FileContent {
public:
    // `size` is what the file had when it was listed; `name` is for errors. Throws Error
    // (CannotRead).
    void Begin(const std::string& path, std::uint64_t size, const std::string& name) {
        name_ = name;
        left_ = size;
        file_.Close();
        if (!file_.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                        platform::Share::DenyNone)) {
            throw Error(ErrorCode::CannotRead, "the file cannot be opened", 0, name_);
        }
    }

    // Returns the next piece, valid until the next call; empty after the last one. Throws Error
    // (CannotRead).
    [[nodiscard]] std::span<const std::byte> Next() {
        const std::int64_t got = file_.Read(piece_);
        // A file that changes while it is read would give a mixture of two contents.
        if (got < 0) throw Error(ErrorCode::CannotRead, "the file cannot be read", 0, name_);
        if (static_cast<std::uint64_t>(got) > left_ || (got == 0 && left_ > 0)) {
            throw Error(ErrorCode::CannotRead, "the file changed while it was read", 0, name_);
        }
        left_ -= static_cast<std::uint64_t>(got);
        return std::span(piece_).first(static_cast<std::size_t>(got));
    }

private:
    static constexpr std::size_t kPiece = 65536;

    platform::FileHandle file_;
    std::string name_;
    std::uint64_t left_ = 0;
    std::array<std::byte, kPiece> piece_{};
};

}  // namespace archive

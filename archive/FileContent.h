// Reads a file of the file system as the content of a member. One thread at a time.
//
// A file that changes while it is read would give a mixture of two contents, and one that changed
// since it was listed has another size than was planned for. So its stamp is compared once, after
// the last byte.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "archive/Error.h"
#include "platform/Files.h"

namespace archive {

class FileContent {
public:
    // `stamp` is what the file had when it was listed; `name` is for errors. Fails beside a program
    // of this system that writes to the file. Throws Error (CannotRead).
    void Begin(const std::string& path, const platform::FileStamp& stamp, const std::string& name) {
        name_ = name;
        stamp_ = stamp;
        left_ = stamp.size;
        file_.Close();
        if (!file_.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                        platform::Share::CheckOnly)) {
            throw Error(ErrorCode::CannotRead, "the file cannot be opened", 0, name_);
        }
    }

    // Returns the next piece, valid until the next call; empty after the last one. Throws Error
    // (CannotRead).
    [[nodiscard]] std::span<const std::byte> Next() {
        if (!piece_) piece_ = std::make_unique_for_overwrite<std::byte[]>(kPiece);
        const auto piece =
            std::span(piece_.get(), static_cast<std::size_t>(std::min(left_, kPiece)));
        Read(piece);
        return piece;
    }

    // Fills `into`, which must not be longer than the rest. Throws Error (CannotRead).
    void Read(std::span<std::byte> into) {
        if (!into.empty()) {
            const std::int64_t got = file_.Read(into);
            if (got < 0) throw Error(ErrorCode::CannotRead, "the file cannot be read", 0, name_);
            if (static_cast<std::size_t>(got) < into.size()) ThrowChanged();
            left_ -= into.size();
        }
        if (left_ == 0 && file_.IsOpen()) Finish();
    }

private:
    static constexpr std::uint64_t kPiece = 65536;

    void Finish() {
        platform::FileStamp now;
        if (!file_.GetStamp(now) || now != stamp_) ThrowChanged();
        // Some files of the system have content and no size, which no member can be planned for.
        std::array<std::byte, 1> more;
        if (stamp_.size == 0 && file_.Read(more) != 0) ThrowChanged();
        file_.Close();
    }

    [[noreturn]] void ThrowChanged() const {
        throw Error(ErrorCode::CannotRead, "the file changed while it was read", 0, name_);
    }

    platform::FileHandle file_;
    std::string name_;
    platform::FileStamp stamp_;
    std::uint64_t left_ = 0;
    std::unique_ptr<std::byte[]> piece_;
};

}  // namespace archive

#include "patch/PatchWriter.h"

#include <span>

#include "archive/Check.h"
#include "archive/Stream.h"
#include "patch/Error.h"

namespace patch {

PatchWriter::PatchWriter(const MakeOptions& options) : options_(options) {
    if (!options_.dryRun) About(options_.result, [&] { file_.emplace(options_.result, 0, 0); });
}

void PatchWriter::Store(std::string_view name, const archive::PackedMember& packed) {
    // Counted here and not taken from the file, so that a dry run refuses what the run would.
    bytes_ += archive::kMemberPrefixSize + packed.data.size() + archive::kIndexRecordSize;
    if (bytes_ > archive::kMaxArchiveSize) {
        throw Error(ErrorCode::NoSpace, options_.result, "the patch would pass 4 GiB");
    }
    if (file_) {
        About(options_.result, [&] { archive::AddPacked(file_->Members(), name, packed); });
    }
}

void PatchWriter::StoreText(std::string_view name, std::string_view text) {
    const auto bytes = std::as_bytes(std::span(text));
    archive::PackedMember stream;
    archive::Pack(bytes, true, stream);
    // A text that begins like a compressed stream would be read back as one.
    if (stream.data.size() < bytes.size() || archive::IsStreamMark(bytes)) {
        Store(name, stream);
    } else {
        archive::PackedMember plain;
        archive::Pack(bytes, false, plain);
        Store(name, plain);
    }
}

std::vector<std::string> PatchWriter::Abandoned() const {
    return file_ ? file_->Abandoned() : std::vector<std::string>();
}

std::uint64_t PatchWriter::Finish() {
    if (!file_) return bytes_;
    About(options_.result, [&] {
        const archive::Reader& reader = file_->Complete();
        // The diffs were proved in memory. This reads the file, for a disk that stored other bytes.
        if (options_.prove && !archive::Check(reader, {.workers = options_.threads}).Whole()) {
            throw archive::Error(archive::ErrorCode::Damaged,
                                 "what was written reads back otherwise; the disk or the memory "
                                 "of this machine may be faulty");
        }
        bytes_ = reader.All().fileSize;
        file_->Publish(options_.replace);
    });
    return bytes_;
}

}  // namespace patch

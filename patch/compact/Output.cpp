#include "patch/compact/Output.h"

#include <algorithm>

#include "archive/Window.h"
#include "patch/Error.h"
#include "platform/Error.h"

namespace patch::compact {

Output::Output(const WriteOptions& options) : options_(options) {
    if (options.dryRun) return;
    const std::size_t name = options.result.find_last_of("/\\") + 1;
    const std::string folder = name == 0 ? "." : options.result.substr(0, name);
    if (!folder_.Open(folder.c_str()) || !file_.Begin(folder_, options.result.substr(name))) {
        Fail("cannot create a file in its folder");
    }
}

void Output::Write(delta::ByteView bytes) {
    digest_.Update(std::as_bytes(bytes));
    Append(std::as_bytes(bytes));
}

std::uint64_t Output::Finish() {
    const Sha256Digest digest = digest_.Finish();
    Append(digest);
    if (options_.dryRun) return bytes_;
    if (!file_.Commit()) Fail("cannot be written");
    if (options_.prove) ReadBack(digest);
    if (file_.Publish(options_.replace)) return bytes_;
    if (platform::LastError().kind != platform::ErrorKind::Exists) {
        Fail("cannot give the file its name");
    }
    throw Error(ErrorCode::Refused, options_.result, "the file exists");
}

void Output::Append(std::span<const std::byte> bytes) {
    bytes_ += bytes.size();
    if (!options_.dryRun && file_.Write(bytes) != bytes.size()) Fail("cannot be written");
}

// The contents were proved from memory, so the digest of the file is all that is left to compare.
void Output::ReadBack(const Sha256Digest& digest) const {
    archive::Window window(file_.File(), 1U << 20);
    const std::uint64_t body = bytes_ - digest.size();
    Sha256 found;
    std::uint64_t done = 0;
    while (done < body) {
        const auto piece = window.Some(done, body - done);
        if (piece.empty()) break;
        found.Update(piece);
        done += piece.size();
    }
    if (done == body && found.Finish() == digest &&
        std::ranges::equal(window.At(body, digest.size()), digest)) {
        return;
    }
    throw Error(ErrorCode::Refused, options_.result,
                "what was written reads back otherwise; the disk or the memory of this machine may "
                "be faulty");
}

void Output::Fail(const std::string& what) const {
    const platform::Error error = platform::LastError();
    const bool full = error.kind == platform::ErrorKind::NoSpace;
    throw Error(full ? ErrorCode::NoSpace : ErrorCode::Refused, options_.result,
                what + ": " + error.Message());
}

}  // namespace patch::compact

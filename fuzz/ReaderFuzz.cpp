// Arbitrary bytes open as an archive or are refused. Every member is read or refused within bounds.
// An archive that passes the check is read without an error. Members that an appender accepts are
// found afterwards. No crash, no hang, no memory out of proportion to the file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

#include "archive/Appender.h"
#include "archive/Check.h"
#include "archive/Error.h"
#include "archive/Reader.h"

namespace {

constexpr std::uint64_t kMostRead = 1 << 22;  // content bytes of one input

void Require(bool holds) {
    if (!holds) std::abort();
}

// Returns an unnamed file that holds the input.
platform::FileHandle FileOf(std::span<const std::byte> bytes) {
    platform::FileHandle file;
    Require(file.OpenTemporary("/tmp/reader-fuzz"));
    Require(file.WriteAt(0, bytes) == bytes.size());
    return file;
}

// Returns whether every member was read completely; also true once kMostRead bytes were read.
bool ReadAll(const archive::Reader& reader) {
    archive::ContentReader content = reader.NewContentReader();
    std::uint64_t total = 0;
    bool whole = true;
    for (std::size_t i = 0; i < reader.Count() && total < kMostRead; ++i) {
        const archive::Member member = reader[i];
        (void)reader.Find(member.name).value();
        try {
            content.Begin(member);
            std::uint64_t size = 0;
            for (auto piece = content.Next(); !piece.empty() && total < kMostRead;
                 piece = content.Next()) {
                size += piece.size();
                total += piece.size();
            }
            Require(size == member.size || total >= kMostRead);
        } catch (const archive::Error&) {
            whole = false;
        }
    }
    return whole;
}

void Append(std::span<const std::byte> bytes) {
    constexpr std::string_view kContent = "content of the new member, the new member";
    platform::FileHandle file = FileOf(bytes);
    try {
        archive::Contents contents = archive::ReadContents(file);
        archive::WalkRest(file, contents);
        archive::Appender appender(file, contents, archive::Appender::Publish::InBatches);
        for (const bool compress : {false, true}) {
            appender.Add({compress ? "new/b" : "new/a", compress, std::nullopt,
                          appender.Find(compress ? "new/b" : "new/a")},
                         std::as_bytes(std::span(kContent)));
        }
        appender.Complete();
    } catch (const archive::Error&) {
        return;
    }
    const archive::Reader reader(std::move(file));
    for (const char* name : {"new/a", "new/b"}) {
        Require(reader.Read(reader.Find(name).value()).size() == kContent.size());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    try {
        const archive::Reader reader(FileOf(bytes));
        const archive::Judgement judgement = archive::Check(reader);
        const bool whole = ReadAll(reader);
        Require(whole || !judgement.Whole());
    } catch (const archive::Error& error) {
        Require(error.Code() == archive::ErrorCode::NotAnArchive);
    }
    Append(bytes);
    return 0;
}

#include "tools/va/tag/Input.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "archive/Error.h"
#include "archive/Reader.h"
#include "kernel/LetterCase.h"
#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "tools/va/ExitCode.h"

namespace va::tool {
namespace {

Bytes ReadMember(const std::string& path, const std::string& name) {
    try {
        const archive::Reader reader(path);
        const auto member = reader.Find(name);
        if (!member) {
            throw Failure{ExitCode::NotFound, "the archive '" + path + "' has no member '" + name +
                                                  "'; VArchive lists what it has"};
        }
        return reader.Read(*member);
    } catch (const archive::Error& error) {
        switch (error.Code()) {
            case archive::ErrorCode::NotFound:
                throw Failure{ExitCode::NotFound, "there is no archive '" + path + "'"};
            case archive::ErrorCode::NotAnArchive:
                Refuse("'" + path + "' is not an archive: " + error.Reason());
            case archive::ErrorCode::Damaged:
            case archive::ErrorCode::SumDiffers:
                Refuse("the member '" + name + "' in '" + path + "' is damaged: " + error.Reason());
            default:
                Refuse("cannot read '" + path + "': " + error.Reason());
        }
    }
}

Bytes ReadFile(const std::string& path) {
    platform::FileHandle handle;
    if (!handle.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                     platform::Share::DenyNone)) {
        Refuse("cannot read '" + path + "': " + platform::LastError().Message());
    }
    const std::int64_t length = handle.Length();
    if (length > std::numeric_limits<std::uint32_t>::max()) {
        Refuse("'" + path + "' is larger than 4 GiB");
    }
    Bytes bytes(length > 0 ? static_cast<std::size_t>(length) : 0);
    if (length < 0 || handle.Read(bytes) != length) {
        Refuse("cannot read '" + path + "' to its end");
    }
    return bytes;
}

}  // namespace

std::size_t MemberStart(const std::string& name) {
    constexpr std::string_view kArchiveEnd = ".va:";
    const auto folded = [](char a, char b) { return Vorn::AsciiToLower(a) == b; };
    const auto found =
        std::search(name.begin(), name.end(), kArchiveEnd.begin(), kArchiveEnd.end(), folded);
    if (found == name.end()) return std::string::npos;
    return static_cast<std::size_t>(found - name.begin()) + kArchiveEnd.size();
}

Bytes ReadInput(const std::string& name) {
    if (platform::Exists(name.c_str())) return ReadFile(name);
    const std::size_t member = MemberStart(name);
    if (member != std::string::npos) {
        return ReadMember(name.substr(0, member - 1), name.substr(member));
    }
    throw Failure{ExitCode::NotFound, "there is no file '" + name +
                                          "'; a member of an archive is named "
                                          "archive.va:member/path"};
}

}  // namespace va::tool

#include "tools/va/tag/Input.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubstList.h"
#include "KernelStandard/WholeFile.h"
#include "kernel/LetterCase.h"
#include "platform/Directories.h"
#include "platform/Files.h"
#include "tools/va/ExitCode.h"

namespace va::tool {
namespace {

// Why the system refused what was asked of it last.
std::string SystemReason() { return std::generic_category().message(errno); }

// One archive, read only, under a mount name of its own.
class Mount {
public:
    explicit Mount(const std::string& archive) { Vorn::Subst(name_, archive.c_str(), false); }
    ~Mount() { Vorn::Subst(name_, nullptr); }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

    [[nodiscard]] bool IsAvailable() const {
        return Vorn::FileSubstList::Instance().TopBackend(name_)->IsAvailable();
    }
    [[nodiscard]] const Vorn::InternedString& Name() const { return name_; }

private:
    const Vorn::InternedString name_ = Vorn::Intern("va-input");
};

Bytes ReadMember(const std::string& archive, const std::string& member) {
    if (!platform::Exists(archive.c_str())) {
        throw Failure{ExitCode::NotFound, "there is no archive '" + archive + "'"};
    }
    const Mount mount(archive);
    if (!mount.IsAvailable()) Refuse("'" + archive + "' is not an archive");
    Vorn::File file;
    const Vorn::FileResult opened = file.Open(mount.Name(), member.c_str(), Vorn::kReadDetect);
    if (opened == Vorn::RES_FILENOTFOUND) {
        throw Failure{ExitCode::NotFound, "the archive '" + archive + "' has no member '" + member +
                                              "'; VArchive lists what it has"};
    }
    if (opened != Vorn::RES_OK) {
        Refuse("cannot read '" + member + "' in '" + archive +
               "': " + Vorn::DescribeFileResult(opened).text);
    }
    auto bytes = Vorn::ReadToEnd(file);
    if (!bytes) Refuse("the member '" + member + "' in '" + archive + "' is damaged");
    return *std::move(bytes);
}

Bytes ReadFile(const std::string& path) {
    platform::FileHandle handle;
    if (!handle.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                     platform::Share::DenyNone)) {
        Refuse("cannot read '" + path + "': " + SystemReason());
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

#include "tools/va/tag/Input.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

#include "kernel/LetterCase.h"
#include "kernel/Paths.h"
#include "platform/Directories.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"

namespace va::tool {
namespace {

// Sizes and offsets of the binary form have 32 bits.
constexpr std::uint64_t kMostBytes = std::numeric_limits<std::uint32_t>::max();

bool IsNamedLikeDescription(const std::string& name) {
    constexpr std::array kEndings = {"txt", "chump", "cdp", "cdp2"};
    return std::ranges::any_of(
        kEndings, [&](const char* ending) { return Vorn::HasExtension(name, ending); });
}

Bytes ReadFile(const std::string& path) {
    platform::FileHandle handle;
    if (!handle.Open(path.c_str(), platform::Access::Read, platform::Creation::OpenExisting,
                     platform::Share::DenyNone)) {
        RefuseInput("cannot read '" + Shown(path) + "': " + platform::LastError().Message());
    }
    const std::int64_t length = handle.Length();
    if (length > static_cast<std::int64_t>(kMostBytes)) {
        RefuseInput("'" + Shown(path) + "' is larger than 4 GiB");
    }
    Bytes bytes(length > 0 ? static_cast<std::size_t>(length) : 0);
    if (length < 0 || handle.Read(bytes) != length) {
        RefuseInput("cannot read '" + Shown(path) + "' to its end");
    }
    return bytes;
}

Bytes ReadStandardInput() {
    constexpr std::size_t kPiece = 1U << 16;
    Bytes bytes;
    for (std::size_t size = 0;; size = bytes.size()) {
        if (size > kMostBytes) RefuseInput("standard input is larger than 4 GiB");
        bytes.resize(size + kPiece);
        std::cin.read(reinterpret_cast<char*>(&bytes[size]), kPiece);
        bytes.resize(size + static_cast<std::size_t>(std::cin.gcount()));
        if (!std::cin) break;
    }
    if (std::cin.bad()) RefuseInput("cannot read standard input to its end");
    return bytes;
}

Failure FailureOf(const Error& error) {
    return {static_cast<ExitCode>(error.code()), Shown(error.what())};
}

}  // namespace

class InputFinder {
public:
    explicit InputFinder(Run& run) : run_(run) {}

    void Find(const std::string& operand) {
        if (operand == "-") return AddFile(operand);
        platform::FileStatus status;
        if (platform::GetStatus(operand.c_str(), status)) {
            if (!status.IsDirectory()) return AddFile(operand, status.size);
            const bool ends = operand.ends_with('/') || operand.ends_with('\\');
            return AddMembers(operand, operand + (ends ? "" : "/"), operand, "**");
        }
        const std::size_t start = MemberStart(operand);
        if (start == std::string::npos) {
            return AddFailure(operand, {ExitCode::NotFound, "there is no file '" + Shown(operand) +
                                                                "'; to name a member of an "
                                                                "archive, write "
                                                                "archive.va:member/path"});
        }
        AddMembers(operand, operand.substr(0, start), operand.substr(0, start - 1),
                   operand.substr(start));
    }

    [[nodiscard]] std::vector<Input> Take() { return std::move(inputs_); }

private:
    void AddFile(const std::string& name, std::uint64_t size = 0) {
        Input input;
        input.name_ = name;
        input.place_ = name.substr(name.find_last_of("/\\") + 1);
        input.size_ = size;
        inputs_.push_back(std::move(input));
    }

    void AddFailure(const std::string& name, Failure failure) {
        Input input;
        input.name_ = name;
        input.failure_ = std::move(failure);
        inputs_.push_back(std::move(input));
    }

    // Adds the members of the archive or folder at `path` that match; their names follow `before`.
    void AddMembers(const std::string& operand, const std::string& before, const std::string& path,
                    const std::string& pattern) {
        try {
            const auto archive = std::make_shared<const Archive>(OpenSide(run_, path));
            // A full name wins over a pattern, whatever its ending.
            if (const std::optional<Member> member = archive->Find(pattern)) {
                return AddMember(before, archive, *member);
            }
            const std::vector<std::string> excluded = run_.Values(kExclude);
            const std::vector<Member> members = archive->Members(pattern);
            const std::size_t known = inputs_.size();
            for (const Member& member : members) {
                const auto excludes = [&](const std::string& excluding) {
                    return MatchesPattern(member.Name(), excluding);
                };
                if (!IsNamedLikeDescription(member.Name())) continue;
                if (std::ranges::any_of(excluded, excludes)) continue;
                AddMember(before, archive, member);
                inputs_.back().selected_ = true;
            }
            if (inputs_.size() == known) AddNothing(operand, path, pattern, members.empty());
        } catch (const Error& error) {
            AddFailure(operand, FailureOf(error));
        }
    }

    void AddNothing(const std::string& operand, const std::string& path, const std::string& pattern,
                    bool nothingMatches) {
        const bool isFolder = operand == path;
        const std::string where = "in '" + Shown(path) + "'";
        const std::string what = isFolder ? "" : " matches '" + Shown(pattern) + "'";
        AddFailure(operand, {ExitCode::NotFound,
                             nothingMatches && !isFolder
                                 ? "nothing " + where + what + "; run 'va list' to see its members"
                                 : "no description " + where + what +
                                       "; their names end in .txt, .chump, .cdp or .cdp2"});
    }

    void AddMember(const std::string& before, const std::shared_ptr<const Archive>& archive,
                   const Member& member) {
        Input input;
        input.name_ = before + member.Name();
        input.place_ = member.Name();
        input.size_ = member.Size();
        input.archive_ = archive;
        input.member_ = member;
        inputs_.push_back(std::move(input));
    }

    Run& run_;
    std::vector<Input> inputs_;
};

void RefuseInput(const std::string& message) { throw BadInput{{ExitCode::Refused, message}}; }

Bytes Input::Read() const {
    if (failure_) throw BadInput{*failure_};
    if (name_ == "-") return ReadStandardInput();
    if (!member_) return ReadFile(name_);
    try {
        return archive_->Read(*member_, kMostBytes);
    } catch (const Error& error) {
        throw BadInput{FailureOf(error)};
    }
}

std::vector<Input> FindInputs(Run& run, const std::vector<std::string>& operands) {
    InputFinder finder(run);
    for (const std::string& operand : operands) finder.Find(operand);
    return finder.Take();
}

ExitCode ForEachInput(Run& run, const std::vector<Input>& inputs,
                      const std::function<ExitCode(const Input&)>& work) {
    std::uint64_t total = 0;
    for (const Input& input : inputs) total += input.Size();
    std::uint64_t done = 0;
    ExitCode gravest = ExitCode::Done;
    for (const Input& input : inputs) {
        if (!run.ShowProgress("descriptions", done, total)) Refuse("stopped");
        ExitCode code = ExitCode::Done;
        try {
            code = work(input);
        } catch (const BadInput& failure) {
            code = failure.code;
            ReportFailed(run, input.Name(), failure.code, failure.message);
        }
        gravest = Graver(gravest, code);
        done += input.Size();
    }
    return gravest;
}

}  // namespace va::tool

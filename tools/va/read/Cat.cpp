#include <array>

#include "platform/Terminal.h"
#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"

namespace va::tool {
namespace {

constexpr Option kBinary{
    .name = "force", .letter = 'f', .meaning = "write to a terminal whatever the bytes are"};

constexpr Operand kOperands[] = {{.name = "ARCHIVE:MEMBER",
                                  .meaning = "a member of an archive or folder",
                                  .repeats = true,
                                  .completes = Completes::Members}};
constexpr std::array kOptions = {&kBinary};
constexpr std::array<std::string_view, 2> kExamples = {
    "va cat Town.va:config.txt", "va cat Town.va:textures/wall.tga > wall.tga"};

// Writes content to standard output. With `guarded`, refuses bytes that could control a terminal.
class Output final : public Sink {
public:
    Output(Answer& answer, bool guarded) : answer_(answer), guarded_(guarded) {}

    void Write(std::span<const std::byte> bytes) override {
        for (const std::byte byte : bytes) {
            const auto c = std::to_integer<unsigned char>(byte);
            const bool isText = c >= 0x20 || c == '\n' || c == '\r' || c == '\t' || c == '\f';
            if (guarded_ && (!isText || c == 0x7F)) {
                Refuse(
                    "standard output is a terminal and the content is not text; use -f to write it "
                    "anyway");
            }
        }
        answer_.Write(bytes);
    }

private:
    Answer& answer_;
    const bool guarded_;
};

ExitCode Cat(Run& run) {
    const bool guarded =
        platform::IsTerminal(platform::StandardStream::Output) && !run.Has(kBinary);
    // An unreadable member ends the run (unlike ForEachOperand): the output is one stream, and what
    // follows a gap would be wrong without a sign.
    for (const std::string& operand : run.Operands()) {
        const MemberOperand parts = SplitMemberOperand(operand);
        const Archive archive{std::filesystem::path(parts.archive)};
        const Member member = MemberOf(archive, parts);
        Output output(run.answer, guarded);
        archive.Read(member, output);
    }
    return ExitCode::Done;
}

}  // namespace

Command CatCommand() {
    return {
        .words = "cat",
        .summary = "write members to standard output",
        .operands = kOperands,
        .options = kOptions,
        .details =
            "Writes the content of members to standard output. Each check sum is compared before "
            "the exit code can be 0; what was written before damage was found must not be used.\n",
        .examples = kExamples,
        .run = Cat};
}

}  // namespace va::tool

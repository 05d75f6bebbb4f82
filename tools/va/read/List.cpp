#include <algorithm>
#include <array>
#include <cstdio>

#include "tools/va/ShownText.h"
#include "tools/va/Side.h"
#include "tools/va/read/ReadCommands.h"

namespace va::tool {
namespace {

constexpr std::array<std::string_view, 4> kSortChoices = {"name", "size", "stored", "ratio"};

constexpr Option kLong{
    .name = "long", .letter = 'l', .meaning = "sizes, ratio and check sum before each name"};
constexpr Option kTree{.name = "tree",
                       .meaning = "folders, indented, with the sum of their contents"};
constexpr Option kSort{
    .name = "sort",
    .value = "BY",
    .meaning = "order: name, size, stored, ratio; without it the order of the archive",
    .choices = kSortChoices,
    .completes = Completes::Choices};

constexpr Operand kOperands[] = {
    {.name = "ARCHIVE", .meaning = "an archive, or a folder", .completes = Completes::Archives},
    {.name = "PATTERN",
     .meaning =
         "members: '*' and '?' within a component, '**' across; a folder's name means all below it",
     .optional = true,
     .repeats = true,
     .completes = Completes::Members},
};
constexpr std::array kOptions = {&kLong, &kTree, &kSort, &kZero, &kJson, &kExclude, &kFilesFrom};
constexpr std::array<std::string_view, 4> kExamples = {
    "va list Town.va", "va list -l --sort=size Town.va 'textures/**'", "va list --tree Town.va",
    "va list -0 Town.va | xargs -0 -n1 echo"};

double Ratio(const Member& member) {
    return member.Size() == 0
               ? 1
               : static_cast<double>(member.StoredSize()) / static_cast<double>(member.Size());
}

// Members in the order of the listing.
using Members = std::vector<const Member*>;

void Sort(Members& members, const std::string& by) {
    const auto ratio = [](const Member* member) { return Ratio(*member); };
    if (by == "name") std::ranges::stable_sort(members, {}, &Member::Name);
    if (by == "size") std::ranges::stable_sort(members, std::greater{}, &Member::Size);
    if (by == "stored") std::ranges::stable_sort(members, std::greater{}, &Member::StoredSize);
    if (by == "ratio") std::ranges::stable_sort(members, {}, ratio);
}

std::string LongLine(const Member& member) {
    std::array<char, 16> sum{"-       "};
    if (member.Crc()) std::snprintf(sum.data(), sum.size(), "%08x", *member.Crc());
    return RightAligned(std::to_string(member.Size()), 11) +
           RightAligned(std::to_string(member.StoredSize()), 12) +
           RightAligned(Percent(member.StoredSize(), member.Size()), 7) + "  " + sum.data() + "  " +
           Shown(member.Name()) + "\n";
}

// Writes the tree of members, which are sorted by name, so that those of a folder are adjacent.
// Each folder shows the sum of its contents. `prefix` is the length of the folder's own path.
void WriteTree(Answer& answer, std::span<const Member* const> members, std::size_t prefix,
               std::size_t depth) {
    while (!members.empty()) {
        const std::string& first = members.front()->Name();
        const std::size_t slash = first.find('/', prefix);
        const std::string indent(depth * 2, ' ');
        if (slash == std::string::npos) {
            answer.Write(indent + Shown(first.substr(prefix)) + "  " +
                         ShownBytes(members.front()->Size()) + "\n");
            members = members.subspan(1);
            continue;
        }
        const std::string_view folder = std::string_view(first).substr(0, slash + 1);
        const auto end = std::ranges::find_if(
            members, [&](const Member* member) { return !member->Name().starts_with(folder); });
        const auto below = members.first(static_cast<std::size_t>(end - members.begin()));
        std::uint64_t bytes = 0;
        for (const Member* member : below) bytes += member->Size();
        answer.Write(indent + Shown(folder.substr(prefix)) + "  " + ShownBytes(bytes) + " in " +
                     Counted(below.size(), "member") + "\n");
        WriteTree(answer, below, slash + 1, depth + 1);
        members = members.subspan(below.size());
    }
}

ExitCode List(Run& run) {
    const Archive archive = OpenSide(run, run.Operand(0));
    const Selection selection = SelectMembers(run, archive, 1);
    Members members;
    members.reserve(selection.Members().size());
    for (const Member& member : selection.Members()) members.push_back(&member);
    if (const auto by = run.Value(kSort)) Sort(members, *by);
    // JSON objects carry full names, from which a program builds its own tree.
    if (run.Has(kTree) && !run.answer.IsJson()) {
        std::ranges::stable_sort(members, {}, &Member::Name);
        WriteTree(run.answer, members, 0, 0);
        members.clear();
    }
    std::uint64_t bytes = 0;
    for (const Member* listed : members) {
        const Member& member = *listed;
        bytes += member.Size();
        if (run.answer.IsJson()) {
            JsonObject object("member");
            object.SetName("name", member.Name(), member.StoredName())
                .Set("size", member.Size())
                .Set("stored", member.StoredSize())
                .Set("compressed", member.IsCompressed());
            if (member.Crc()) object.Set("crc", std::uint64_t{*member.Crc()});
            run.answer.Write(object);
        } else if (run.Has(kZero)) {
            run.answer.Write(member.StoredName() + '\0');
        } else {
            run.answer.Write(run.Has(kLong) ? LongLine(member) : Shown(member.Name()) + "\n");
        }
    }
    run.answer.Last().Set("members", std::uint64_t{members.size()}).Set("bytes", bytes);
    return MayLackMembers(run, archive) ? ExitCode::LookAt : ExitCode::Done;
}

}  // namespace

Command ListCommand() {
    return {.words = "list",
            .summary = "list members",
            .operands = kOperands,
            .options = kOptions,
            .details =
                "Lists the names of members, one a line, in the order of the archive. Control "
                "characters are shown as \\x1b; -0 writes names as they are stored. Nothing is "
                "created or changed.\n"
                "\n"
                "The exit code is 1 when members may be missing, because the archive was cut off "
                "or its index is damaged, and when files of a folder cannot be members.\n",
            .examples = kExamples,
            .run = List};
}

}  // namespace va::tool

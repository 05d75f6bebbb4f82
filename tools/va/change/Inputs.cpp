#include "tools/va/change/Inputs.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "tools/va/Side.h"

namespace va::tool {

Compression CompressionOf(const Run& run) {
    const std::string which = run.Value(kCompress).value_or("auto");
    if (which == "all") return Compression::All;
    return which == "none" ? Compression::None : Compression::WhereItSaves;
}

Inputs::Inputs(Run& run, std::size_t first, std::string_view under) {
    const std::vector<std::string> excluded = run.Values(kExclude);
    const auto isWanted = [&excluded](std::string_view name) {
        return std::ranges::none_of(
            excluded, [name](const std::string& pattern) { return MatchesPattern(name, pattern); });
    };
    const std::string before =
        under.empty() || under.ends_with('/') ? std::string(under) : std::string(under) + "/";
    for (std::size_t i = first; i < run.Operands().size(); ++i) {
        const std::filesystem::path path = run.Operand(i);
        if (std::filesystem::is_directory(path)) {
            writer_.AddAll(folders_.emplace_back(OpenContent(run, run.Operand(i))), before,
                           [&](const Member& member) { return isWanted(member.Name()); });
        } else if (const std::string name = path.filename().string(); isWanted(name)) {
            writer_.AddFile(path, before + name);
        }
    }
}

Inputs::Inputs(const std::string& path, const std::string& name) {
    if (path != "-") {
        writer_.AddFile(path, name);
        return;
    }
    constexpr std::size_t kPiece = 1 << 20;
    std::vector<std::byte> content;
    for (std::size_t got = 1; got > 0 && content.size() <= UINT32_MAX;) {
        const std::size_t before = content.size();
        content.resize(before + kPiece);
        got = std::fread(content.data() + before, 1, kPiece, stdin);
        content.resize(before + got);
    }
    if (std::ferror(stdin) != 0) Refuse("standard input cannot be read");
    writer_.AddContent(std::move(content), name);
}

}  // namespace va::tool

// Path helpers and wildcards give the results of a slow, literal version for arbitrary texts, and
// do not exceed their buffers.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "platform/CodePage.h"

namespace {

using namespace Vorn;

void Require(bool holds) {
    if (!holds) std::abort();
}

// Takes the text up to the next line feed. Returns at most `limit` bytes, without zeros.
std::string TakeText(std::string_view& input, std::size_t limit) {
    std::string text(input.substr(0, input.find('\n')));
    input.remove_prefix(std::min(text.size() + 1, input.size()));
    std::erase(text, '\0');
    return text.substr(0, limit);
}

bool HoldsSeparator(std::string_view text) {
    return text.find_first_of("/\\") != std::string_view::npos;
}

// Matches one alternative within one component by a table: each cell is true if the rest of the
// name matches the rest of the pattern.
bool LiteralMatch(std::string_view name, std::string_view pattern) {
    std::vector<std::vector<bool>> matches(name.size() + 1, std::vector<bool>(pattern.size() + 1));
    for (std::size_t i = name.size() + 1; i-- > 0;) {
        for (std::size_t j = pattern.size() + 1; j-- > 0;) {
            const std::string_view rest = pattern.substr(j);
            const bool swallows = i < name.size() && j < pattern.size();
            if (rest.empty()) {
                matches[i][j] = i == name.size();
            } else if (rest.ends_with("*.") && rest.find_first_not_of('*') == rest.size() - 1) {
                // A trailing "*." matches the rest of a name without an extension: no dot, or only
                // one at its end.
                matches[i][j] = std::min(name.find('.', i), name.size()) + 1 >= name.size();
            } else if (rest[0] == '*') {
                matches[i][j] = matches[i][j + 1] || (swallows && matches[i + 1][j]);
            } else {
                const auto fold = [](char c) {
                    return platform::AnsiToLower(static_cast<unsigned char>(c));
                };
                matches[i][j] = swallows && (rest[0] == '?' || fold(rest[0]) == fold(name[i])) &&
                                matches[i + 1][j + 1];
            }
        }
    }
    return matches[0][0];
}

bool LiteralMatchAny(std::string_view name, std::string_view patterns) {
    for (;;) {
        const std::size_t end = patterns.find(';');
        if (LiteralMatch(name, patterns.substr(0, end))) return true;
        if (end == std::string_view::npos) return false;
        patterns.remove_prefix(end + 1);
    }
}

void CheckWildcards(const std::string& name, const std::string& patterns) {
    std::size_t dirEnd = 0;
    const bool matched = MatchWildcards(name, patterns, &dirEnd);
    Require(dirEnd == std::string_view::npos ||
            (dirEnd < name.size() && IsSeparator(name[dirEnd])));
    if (HoldsSeparator(name) || HoldsSeparator(patterns)) return;
    Require(matched == LiteralMatchAny(name, patterns));
}

// Normalises a path without a prefix that ends in ':'.
std::string LiteralNormalise(std::string_view path) {
    const bool rooted = !path.empty() && IsSeparator(path[0]);
    std::vector<std::string> kept;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of("/\\"), path.size());
        const std::string token(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
        if (token.empty() || token == ".") continue;
        if (token == ".." && !kept.empty()) {
            kept.pop_back();
        } else {
            kept.push_back(token);
        }
    }
    std::string result = rooted ? "/" : "";
    for (const std::string& component : kept) {
        if (!result.empty() && result.back() != '/') result += '/';
        result += component;
    }
    return result;
}

void CheckNormalised(const std::string& path) {
    PathBuffer buffer{std::string_view(path)};
    NormalisePath(buffer);
    Require(buffer.View().find('\\') == std::string_view::npos);
    if (path.find(':') != std::string::npos) return;
    // A trailing separator that is left after folding does not change the path.
    std::string_view normal = buffer.View();
    if (normal.size() > 1 && normal.back() == '/') normal.remove_suffix(1);
    Require(normal == LiteralNormalise(path));
}

void CheckSplitting(const std::string& path) {
    PathBuffer folder{std::string_view(path)};
    PathBuffer name = folder;
    StripFileName(folder, false);
    StripDirectory(name);
    Require(std::string(folder.View()).append(name.View()) == path);
    Require(FileNamePart(path.c_str()) == path.data() + folder.View().size());

    std::size_t components = 0;
    PathBuffer rest{std::string_view(path)};
    for (PathBuffer component; !rest.Empty(); ++components) {
        NextPathComponent(rest, component);
        Require(!HoldsSeparator(component.View()));
        Require(!component.Empty() || rest.Empty());
    }
    Require(components <= path.size());
}

void CheckExtensions(const std::string& path, const std::string& extension) {
    PathBuffer buffer{std::string_view(path)};
    ReplaceExtension(buffer, nullptr);
    Require(path.starts_with(buffer.View()));
    if (buffer.View().size() + extension.size() + 2 > kMaxPath) return;
    if (extension.find_first_of("./\\") != std::string::npos) return;
    ReplaceExtension(buffer, extension.c_str());
    Require(HasExtension(buffer.View(), extension.c_str()));
}

void CheckJoining(const std::string& base, const std::string& name) {
    try {
        PathBuffer joined;
        JoinPath(base, name, joined);
        Require(joined.View().ends_with(!name.empty() && IsSeparator(name[0]) && !base.empty()
                                            ? std::string_view(name).substr(1)
                                            : name));
        PathBuffer appended{std::string_view(base)};
        AppendPathComponent(appended, name);
        Require(appended.View().starts_with(base));
        RemoveLastComponent(appended);
        KeepDirectoryAndExtension(appended);
    } catch (const FileEx&) {
        Require(base.size() + name.size() + 2 >= kMaxPath);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string name = TakeText(input, kMaxPath - 1);
    const std::string patterns = TakeText(input, kMaxPath - 1);
    CheckWildcards(name, patterns);
    CheckNormalised(name);
    CheckSplitting(name);
    CheckExtensions(name, patterns);
    CheckJoining(name, patterns);
    Require(PathsShareStart(name.c_str(), patterns.c_str()) ==
            PathsShareStart(patterns.c_str(), name.c_str()));
    return 0;
}

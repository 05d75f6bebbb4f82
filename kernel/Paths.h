// Path helpers: joining, splitting, folding and matching of 8-bit paths.
//
// A separator is '\' or '/'; a component end is a separator or ':', which follows a drive letter or
// a mount's name. Text is in the ANSI code page. A result that does not fit its 260-byte buffer
// throws FileEx and leaves the buffer unchanged: a shortened path would name another file.
#pragma once

#include <cstddef>
#include <string_view>

#include "kernel/PathBuffer.h"

namespace Vorn {

[[nodiscard]] constexpr bool IsSeparator(char c) noexcept { return c == '/' || c == '\\'; }
[[nodiscard]] constexpr bool IsComponentEnd(char c) noexcept { return IsSeparator(c) || c == ':'; }

// Matches `name` against alternatives separated by ';', ignoring letter case. '*' matches any run
// of bytes within one component, '?' one byte that is not a separator, and either separator the
// other. A pattern with a separator matches its directories first, as one text in which ';' is an
// ordinary byte. "*." matches a name without an extension.
//
// Sets `dirEnd`, if given, to the position of the separator in `name` at which the pattern ended
// although the name continues (`name` up to there is a directory that matches), or else to npos.
[[nodiscard]] bool MatchWildcards(std::string_view name, std::string_view patterns,
                                  std::size_t* dirEnd = nullptr);

// Folds ".", ".." and repeated separators; the result has '/' only. A ".." at the front is kept,
// and the next one folds it like any component: "../../x" becomes "x". A caller that refuses paths
// which lead upwards must therefore check them first.
void NormalisePath(PathSpan buffer);

// Sets `result` to `base` up to its last separator, then `name` without a leading separator. A base
// without a separator that neither begins with '.' nor holds ':' is a mount's name and gets ":/".
// An empty base makes the result `name`.
void JoinPath(std::string_view base, std::string_view name, PathSpan result);

// Appends exactly one "/" and at most `count` bytes of `component`. An empty buffer takes the
// component unchanged, leading separators included.
void AppendPathComponent(PathSpan buffer, std::string_view component,
                         std::size_t count = std::string_view::npos);

// Removes the folder component before the last separator: "a/b/c" becomes "a/c".
void RemoveLastComponent(PathSpan buffer);

// Keeps only the file name.
void StripDirectory(PathSpan buffer);

// Keeps only the part before the file name, with or without its last separator. ':' is kept.
void StripFileName(PathSpan buffer, bool dropSeparator);

void StripTrailingSeparator(PathSpan buffer);

// Removes the base name; keeps the folder, and the extension with its '.'.
void KeepDirectoryAndExtension(PathSpan buffer);

// Removes the extension, and appends `extension` unless it is null. Its leading '.' is optional.
void ReplaceExtension(PathSpan buffer, const char* extension);

// Returns whether the path ends in `extension` (any letter case, leading '.' ignored). With a null
// extension, returns whether the path is empty.
[[nodiscard]] bool HasExtension(std::string_view path, const char* extension);

[[nodiscard]] const char* FileNamePart(const char* path);

// Returns the text after the last '.' of the file name, or null.
[[nodiscard]] const char* ExtensionPart(const char* path);

// Returns whether one path is a prefix of the other. Case-sensitive; the two separators are equal.
[[nodiscard]] bool PathsShareStart(const char* a, const char* b);

// Moves the first component of `path` to `component`, and drops a drive or mount prefix and leading
// separators with it. `component` is empty when none is left.
void NextPathComponent(PathSpan path, PathSpan component);

void ToBackslashes(char* text);

// Copies `source`; null counts as the empty text.
void CopyText(PathSpan destination, const char* source);

// Removes `count` bytes at `position`, or the rest of the text if it has fewer.
void EraseText(char* buffer, std::size_t position, std::size_t count);

[[nodiscard]] char LastChar(const char* text);
[[nodiscard]] std::size_t BoundedLength(const char* text, std::size_t max);

}  // namespace Vorn

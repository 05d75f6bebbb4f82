// Path helpers: joining, splitting, folding and matching of 8-bit paths.
//
// A separator is '\' or '/'; a component end is a separator or ':', which stands between a drive
// letter or a substitution name and the rest. Text is in the ANSI code page. A result that does
// not fit its 260-byte buffer throws FileEx and leaves the buffer as it was: a shortened path
// would name another file.
#pragma once

#include <cstddef>
#include <string_view>

#include "kernel/PathBuffer.h"

namespace Vorn {

[[nodiscard]] constexpr bool IsSeparator(char c) noexcept { return c == '/' || c == '\\'; }
[[nodiscard]] constexpr bool IsComponentEnd(char c) noexcept { return IsSeparator(c) || c == ':'; }

// Matches `name` against alternatives separated by ';'. '*' stands for any run of bytes within
// one component, '?' for one byte that is not a separator; letter case does not count, either
// separator matches either. A pattern with a separator matches its directories first, as one
// text in which ';' is an ordinary byte. "*." matches a name without an extension.
//
// `dirEnd`, when given, is set to npos, or to the position of the separator in `name` at which
// the pattern ended while the name goes on below: `name` up to there is a directory it names.
[[nodiscard]] bool MatchWildcards(std::string_view name, std::string_view patterns,
                                  std::size_t* dirEnd = nullptr);

// Folds ".", ".." and repeated separators; the result has '/' only. A ".." at the front stays; the
// next one folds it like any component, so that "../../x" becomes "x". A caller that refuses paths
// which lead upwards must look at them before.
void NormalisePath(PathSpan buffer);

// `result` = `base` up to its last separator, then `name` without a leading separator. A base
// without a separator that neither begins with '.' nor holds ':' is a substitution name and gets
// ":/"; an empty base gives `name`.
void JoinPath(std::string_view base, std::string_view name, PathSpan result);

// Appends at most `count` bytes of `component` behind exactly one "/". An empty buffer takes the
// component as it is, leading separators included.
void AppendPathComponent(PathSpan buffer, std::string_view component,
                         std::size_t count = std::string_view::npos);

// Removes the folder component before the last separator: "a/b/c" becomes "a/c".
void RemoveLastComponent(PathSpan buffer);

// Keeps only the file name.
void StripDirectory(PathSpan buffer);

// Keeps only what stands before the file name, with or without its last separator; ':' is kept.
void StripFileName(PathSpan buffer, bool dropSeparator);

void StripTrailingSeparator(PathSpan buffer);

// Drops the base name and keeps the folder and the extension with its '.'.
void KeepDirectoryAndExtension(PathSpan buffer);

// Cuts the extension off; a non-null `extension` takes its place, with or without its own '.'.
void ReplaceExtension(PathSpan buffer, const char* extension);

// Whether the path ends in `extension` (any letter case, leading '.' ignored). A null extension
// asks whether the path is empty.
[[nodiscard]] bool HasExtension(std::string_view path, const char* extension);

[[nodiscard]] const char* FileNamePart(const char* path);

// What follows the last '.' of the file name, or null.
[[nodiscard]] const char* ExtensionPart(const char* path);

// Whether one path is the beginning of the other, any separator equal to any, letter case counting.
[[nodiscard]] bool PathsShareStart(const char* a, const char* b);

// Takes the first component off `path`: drive or substitution prefixes and leading separators are
// dropped with it. Empty when no component is left.
void NextPathComponent(PathSpan path, PathSpan component);

void ToBackslashes(char* text);

// A null source gives an empty destination.
void CopyText(PathSpan destination, const char* source);

// Removes `count` bytes at `position`; past the end the text is cut.
void EraseText(char* buffer, std::size_t position, std::size_t count);

[[nodiscard]] char LastChar(const char* text);
[[nodiscard]] std::size_t BoundedLength(const char* text, std::size_t max);

}  // namespace Vorn

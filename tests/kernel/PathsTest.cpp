#include "kernel/Paths.h"

#include "kernel/Exceptions.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

std::string After(std::string_view path, const std::function<void(PathSpan)>& edit) {
    PathBuffer buffer(path);
    edit(buffer);
    return buffer.c_str();
}

TEST(Paths, NormaliseFoldsDotsAndSeparators) {
    for (const auto& [path, folded] : Table<const char*, const char*>{
             {"./a\\b\\..\\c\\.\\d", "a/c/d"},
             {"\\x\\..\\..\\y", "/../y"},
             {"a//b/", "a/b"},
             {"", ""},
             {".", ""},
             {"..", ".."},
             {"../x", "../x"},
             {"../../x", "x"},
             {"../../../x", "../x"},
             {"a/..", ""},
             {"a/../b", "b"},
             {"/", "/"},
             {"a/b/..", "a/"},
             {"c:\\a\\..\\b", "c:/b"},
             {"c:a\\..\\b", "c:/b"},
             {"c:\\..\\b", "c:/../b"},
             {"tex:/a/../b", "tex:/b"},
             {"...", "..."},
         }) {
        EXPECT_EQ(After(path, NormalisePath), folded) << path;
    }
}

TEST(Paths, JoinReplacesTheFileNameOfTheBase) {
    for (const auto& [base, name, joined] : Table<const char*, const char*, const char*>{
             {"data\\old.txt", "\\new.txt", "data\\new.txt"},
             {"textures", "a.tga", "textures:/a.tga"},
             {"", "a", "a"},
             {"", "/a", "/a"},
             {".", "a", "./a"},
             {"c:", "a", "c:/a"},
             {"a/b/", "//c", "a/b//c"},
             {"a", "/b", "a:/b"},
         }) {
        PathBuffer result(base);
        JoinPath(result.View(), name, result);
        EXPECT_EQ(result.View(), joined) << base << " and " << name;
    }
}

// Each row: path, without its last folder, file name, folder, folder without its separator, folder
// and extension.
TEST(Paths, TakeNamesApart) {
    for (const auto& [path, withoutLast, name, folder, bareFolder, nameless] :
         Table<const char*, const char*, const char*, const char*, const char*, const char*>{
             {"a/b/c.x", "a/c.x", "c.x", "a/b/", "a/b", "a/b/.x"},
             {"a/b/", "a/", "", "a/b/", "a/b", "a/b/"},
             {"c:a\\b", "c:b", "b", "c:a\\", "c:a", "c:a\\"},
             {"c:name.t", "c:name.t", "name.t", "c:", "c:", "c:.t"},
             {"dir.old/file", "file", "file", "dir.old/", "dir.old", "dir.old/"},
             {"plain", "plain", "plain", "", "", ""},
             {"", "", "", "", "", ""},
         }) {
        SCOPED_TRACE(path);
        EXPECT_EQ(After(path, RemoveLastComponent), withoutLast);
        EXPECT_EQ(After(path, StripDirectory), name);
        EXPECT_EQ(std::string_view(FileNamePart(path)), name);
        EXPECT_EQ(After(path, [](PathSpan b) { StripFileName(b, false); }), folder);
        EXPECT_EQ(After(path, [](PathSpan b) { StripFileName(b, true); }), bareFolder);
        EXPECT_EQ(After(path, KeepDirectoryAndExtension), nameless);
    }
    for (const auto& [path, stripped] : Table<const char*, const char*>{
             {"a/", "a"},
             {"a//", "a/"},
             {"", ""},
         }) {
        EXPECT_EQ(After(path, StripTrailingSeparator), stripped);
    }
}

TEST(Paths, ReplaceAndTestExtensions) {
    for (const auto& [path, extension, replaced, has] :
         Table<const char*, const char*, const char*, bool>{
             {"dir.old/file", "txt", "dir.old/file.txt", false},
             {"a.tga", ".bmp", "a.bmp", false},
             {"a.tga", nullptr, "a", false},
             {"X.TXT", ".txt", "X.txt", true},
             {"a.b.txt", "txt", "a.b.txt", true},
             {"txt", "txt", "txt.txt", false},
             {"", nullptr, "", true}}) {
        PathBuffer buffer(path);
        ReplaceExtension(buffer, extension);
        EXPECT_EQ(buffer.View(), replaced);
        EXPECT_EQ(HasExtension(path, extension), has) << path;
    }
    EXPECT_STREQ(ExtensionPart("d/a.b.c"), "c");
    EXPECT_STREQ(ExtensionPart("a."), "");
    EXPECT_EQ(ExtensionPart("d.x/a"), nullptr);
}

TEST(Paths, NextComponentSkipsPrefixesAndSeparators) {
    for (const auto& [path, first, rest] : Table<const char*, const char*, const char*>{
             {"c:\\a\\b", "a", "b"},
             {"tex:a/b", "a", "b"},
             {"//a//b", "a", "/b"},
             {"a", "a", ""},
             {"/c:/a", "a", ""},
             {"", "", ""},
             {"c:", "", ""},
             {"a/", "a", ""},
         }) {
        PathBuffer left(path);
        PathBuffer component("old");
        NextPathComponent(left, component);
        EXPECT_EQ(component.View(), first) << path;
        EXPECT_EQ(left.View(), rest) << path;
    }
}

TEST(Paths, EditPlainBuffers) {
    std::string text = "a/b";
    ToBackslashes(text.data());
    EXPECT_EQ(text, "a\\b");
    for (const auto& [position, count, left] : Table<std::size_t, std::size_t, const char*>{
             {2, 100, "ab"}, {6, 1, "abcdef"}, {1, SIZE_MAX, "a"}, {1, 2, "adef"}}) {
        PathBuffer buffer("abcdef");
        EraseText(PathSpan(buffer).data(), position, count);
        EXPECT_EQ(buffer.View(), left);
    }
    for (const auto& [path, component, appended] : Table<const char*, const char*, const char*>{
             {"a", "\\/bcd", "a/bc"},
             {"a\\", "b", "a\\b"},
             {"", "/b", "/b"},
             {"c:", "b", "c:/b"},
         }) {
        PathBuffer buffer(path);
        AppendPathComponent(buffer, component, 4);
        EXPECT_EQ(buffer.View(), appended);
    }
    EXPECT_EQ(After("x", [](PathSpan b) { CopyText(b, nullptr); }), "");
    EXPECT_TRUE(LastChar("ab") == 'b' && LastChar("") == '\0');
    EXPECT_TRUE(BoundedLength("abc", 2) == 2 && BoundedLength("abc", 9) == 3);
    EXPECT_TRUE(PathsShareStart("a/b", "a\\b\\c") && PathsShareStart("", "a"));
    EXPECT_FALSE(PathsShareStart("a/b", "A/b") || PathsShareStart("a/b", "a:b"));
    EXPECT_TRUE(PathsShareStart(nullptr, nullptr) && !PathsShareStart("a", nullptr));
}

TEST(Paths, WhatDoesNotFitThrowsAndLeavesTheBuffer) {
    const std::string longest(kMaxPath - 1, 'x');
    const std::function<void(PathSpan)> edits[] = {
        [&](PathSpan b) { SetPath(b, longest + "x"); },
        [&](PathSpan b) { CopyText(b, (longest + "x").c_str()); },
        [&](PathSpan b) { AppendPathComponent(b, "y"); },
        [&](PathSpan b) { ReplaceExtension(b, "y"); },
        [&](PathSpan b) { JoinPath("d/", longest, b); }};
    for (const auto& edit : edits) {
        PathBuffer buffer(longest);
        EXPECT_THROW(edit(buffer), FileEx);
        EXPECT_EQ(buffer.View(), longest);
    }
    EXPECT_THROW(PathBuffer(longest + "x"), FileEx);
}

}  // namespace
}  // namespace Vorn::Testing

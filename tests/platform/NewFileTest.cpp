// Files that get their names when they are whole.
#include <sys/resource.h>

#include "platform/Error.h"
#include "platform/NewFile.h"
#include "tests/support/Tests.h"

namespace platform {
namespace {

using namespace Vorn::Testing;

class NewFiles : public InFolder {
protected:
    void SetUp() override { ASSERT_TRUE(here_.Open("")); }

    bool Begin(const char* name, std::string_view content) {
        return file_.Begin(here_, name) &&
               file_.Write(std::as_bytes(std::span(content))) == content.size();
    }
    [[nodiscard]] static std::size_t Entries() {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator("."), {}));
    }

    FolderHandle here_;
    NewFile file_;
};

TEST_F(NewFiles, AFileAppearsWhenItIsPublished) {
    ASSERT_TRUE(Begin("f", "1"));
    EXPECT_TRUE(file_.IsUnnamed());
    EXPECT_EQ(Entries(), 0U);
    EXPECT_TRUE(file_.Publish(false));
    EXPECT_FALSE(file_.IsUnnamed());
    EXPECT_EQ(folder.Read("f"), "1");
    EXPECT_FALSE(file_.Publish(true)) << "it is published already";

    ASSERT_TRUE(Begin("given up", "2"));
    ASSERT_TRUE(Begin("begun", "3")) << "and the one before is given up";
    file_.GiveUp();
    EXPECT_FALSE(file_.Publish(true));
    EXPECT_EQ(Entries(), 1U);
}

TEST_F(NewFiles, OnlyFilesAndLinksAreReplacedAndOnlyWhenAsked) {
    folder.Write("file", "old", fs::perms::owner_all);
    folder.Write("target", "kept");
    fs::create_symlink("target", "link");
    fs::create_directory("folder");
    for (const char* name : {"file", "link", "folder"}) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(Begin(name, "new"));
        EXPECT_FALSE(file_.Publish(false));
        EXPECT_EQ(LastError().kind, ErrorKind::Exists);
        EXPECT_EQ(file_.Publish(true), !fs::is_directory(name));
        file_.GiveUp();
        EXPECT_EQ(Entries(), 4U) << "no other name is left";
    }
    EXPECT_EQ(folder.Read("file") + folder.Read("link") + folder.Read("target"), "newnewkept");
    EXPECT_EQ(fs::status("file").permissions(), fs::perms::owner_all);
}

TEST_F(NewFiles, AFolderThatMovesTakesItsFileAlong) {
    fs::create_directory("a");
    FolderHandle a;
    ASSERT_TRUE(a.Open("a"));
    ASSERT_TRUE(file_.Begin(a, "f"));
    fs::rename("a", "b");
    fs::create_directory("a");
    EXPECT_TRUE(file_.Publish(false));
    EXPECT_TRUE(fs::exists("b/f"));
    EXPECT_TRUE(fs::is_empty("a"));
}

TEST_F(NewFiles, AFileSizeLimitStopsAWriteShort) {
    const auto work = [this] {
        const rlimit limit{.rlim_cur = 1000, .rlim_max = 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::string content(4000, 'x');
        return file_.Begin(here_, "f") && file_.Write(std::as_bytes(std::span(content))) == 1000 &&
               LastError().kind == ErrorKind::TooLarge;
    };
    EXPECT_EQ(InChild(work), 1);
}

}  // namespace
}  // namespace platform

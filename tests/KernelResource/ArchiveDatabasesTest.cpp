// How archives are shared as databases.
#include "KernelResource/ArchiveDatabases.h"

#include "tests/KernelResource/ResourceLayer.h"

namespace Vorn::Testing {

class ArchiveSharing : public ResourceLayer {
protected:
    [[nodiscard]] NorvaneResourceDatabase* Open(const std::string& name) {
        return OpenArchiveDatabase(Intern(name), (folder.Path() + "/").c_str());
    }
    [[nodiscard]] static bool IsMounted(const char* name) {
        return FileSubstList::Instance().IsMounted(Intern(name));
    }
    ArchiveDatabases& Register() { return system->Archives(); }
};

TEST_F(ArchiveSharing, UsersOfANameShareItsArchive) {
    folder.Write("stuff.va", RawArchive({{"a.text", "in the archive"}}));
    folder.Write("stuff/a.text", "in the folder");

    NorvaneResourceDatabase* const first = Open("stuff");
    EXPECT_TRUE(first->ArchiveExists());
    EXPECT_EQ(Open("stuff"), first);
    EXPECT_EQ(Register().References(first), 2u);
    RetainArchiveDatabase(first);
    for (int i = 0; i < 4; ++i) ReleaseArchiveDatabase(first);
    ReleaseArchiveDatabase(nullptr);
    EXPECT_EQ(Register().References(first), 0u);
    EXPECT_EQ(Register().Count(), 1u);

    auto& text = dynamic_cast<TextResource&>(*first->GetResource(Intern("a.text")));
    EXPECT_EQ(Acquire(text), RES_RESOURCEOK);
    EXPECT_EQ(text.text, "in the archive");
    PurgeArchiveDatabases(2);
    EXPECT_TRUE(IsMounted("stuff"));
    PurgeArchiveDatabases(0);
    EXPECT_FALSE(IsMounted("stuff"));
    EXPECT_EQ(Register().Count(), 0u);
}

TEST_F(ArchiveSharing, WithoutAnArchiveTheFolderServes) {
    folder.Write("loose/a.text", "in the folder");
    NorvaneResourceDatabase* const loose = Open("loose");
    EXPECT_FALSE(loose->ArchiveExists());
    EXPECT_NE(loose->GetResource(Intern("a.text")), nullptr);
    NorvaneResourceDatabase* const nothing = Open("nothing");
    EXPECT_EQ(nothing->GetResource(Intern("a.text")), nullptr);
    EXPECT_THROW((void)Open(std::string(300, 'x')), FileEx);
    Subst(Intern("nothing"), nullptr);  // a user may close the name early
}

TEST_F(ArchiveSharing, APlaceIsFreedOnlyWhenNobodyUsesIt) {
    std::vector<NorvaneResourceDatabase*> open;
    for (std::size_t i = 0; i < ArchiveDatabases::kCapacity; ++i) {
        open.push_back(Open("d" + std::to_string(i)));
        ASSERT_NE(open.back(), nullptr);
    }
    EXPECT_EQ(Open("one more"), nullptr);
    EXPECT_FALSE(IsMounted("one more"));
    EXPECT_EQ(Open("d7"), open[7]);
    ReleaseArchiveDatabase(open[3]);
    ReleaseArchiveDatabase(open[255]);
    EXPECT_NE(Open("one more"), nullptr);
    EXPECT_FALSE(IsMounted("d3") || IsMounted("d255"));
    EXPECT_EQ(Register().Count(), 255u);
    EXPECT_EQ(Register().References(open[7]), 2u);
    system.reset();
    EXPECT_THROW((void)Open("too late"), Exception);
}

}  // namespace Vorn::Testing

// How databases find the resources of names.
#include "KernelResource/SearchHandle.h"
#include "tests/KernelResource/ResourceLayer.h"

namespace Vorn::Testing {

class ResourceFinding : public ResourceLayer {
protected:
    ResourceFinding() {
        OpenBase({{"a.text", "plain"},
                  {"low/only.text", "only in low"},
                  {"high/a.text", "high"},
                  {longName_, "a long name"},
                  {"alias.text.txt", "Redirect=a.text"},
                  {"twice.text.txt", "Redirect=alias.text"},
                  {"described.text.txt", "told by its description"},
                  {"nowhere.text.txt", "Redirect=missing.text"},
                  {"ring.text.txt", "Redirect=gnir.text"},
                  {"gnir.text.txt", "Redirect=ring.text"},
                  {"self.text.txt", "Redirect=self.text"},
                  {"both.text", "the file"},
                  {"both.text.txt", "Redirect=a.text"}});
    }

    // The longest name that an archive can have.
    const std::string longName_ = "far/" + std::string(250, 'n') + ".text";
};

TEST_F(ResourceFinding, ANameIsLookedUpInOrder) {
    const Table<std::string, std::string> table = {
        {"a.text", "plain"},
        {"A.TEXT", "(none)"},  // no type takes it
        {"missing;a.text", "plain"},
        {";;a.text;", "plain"},
        {"missing;absent", "(none)"},
        {";", "(none)"},
        {"alias.text", "plain"},
        {"twice.text", "plain"},
        {"described.text", "told by its description"},
        {"both.text", "the file"},
        {"nowhere.text", "(none)"},
        {"ring.text", "(none)"},
        {"self.text", "(none)"},
        {longName_, "a long name"},
        {longName_ + ".text", "(none)"},
    };
    for (const auto& [name, text] : table) {
        SCOPED_TRACE(name);
        EXPECT_EQ(TextOf(name), text);
        EXPECT_EQ(TextOf(name), text) << "the second time";
    }
}

TEST_F(ResourceFinding, PrefixesAreTriedInOrderBeforeTheNameItself) {
    base->AddPrefix(Intern("high"));
    base->AddPrefix(Intern("low"));
    EXPECT_EQ(TextOf("a.text"), "high");
    EXPECT_EQ(TextOf("only.text"), "only in low");
    EXPECT_EQ(TextOf("both.text"), "the file");
    EXPECT_EQ(TextOf(longName_), "a long name") << "too long only for the prefixes";
    EXPECT_EQ(Get("only.text")->SourceName().View(), "base:low/only.text");
    EXPECT_EQ(Get("made/without a file")->Home(), base.get());
    const ResourceDatabase unnamed{Intern("")};
    EXPECT_EQ(unnamed.QualifyName(Intern("a/b.tga")).View(), "a/b.tga");
}

TEST_F(ResourceFinding, RedirectsGiveOutTheirTargets) {
    Resource* const target = Get("a.text");
    EXPECT_EQ(Get("alias.text"), target);
    EXPECT_EQ(Get("twice.text"), target);
    EXPECT_EQ(target->ReferenceCount(), 3u);
    EXPECT_EQ(target->HolderCount(), 3u);  // the table and two redirects
    EXPECT_TRUE(Release("alias.text"));
    EXPECT_TRUE(Release("a.text"));
    EXPECT_TRUE(Release("twice.text"));
    EXPECT_FALSE(Release("a.text"));
}

TEST_F(ResourceFinding, MissesAreCountedAndRemembered) {
    EXPECT_EQ(Get("absent.text"), nullptr);
    EXPECT_EQ(base->Misses(), 1u);
    EXPECT_EQ(base->MissesHandled(), 1u);
    EXPECT_EQ(Get("other.text", kNoNegativeEntry), nullptr);
    EXPECT_EQ(base->Misses(), 2u);
    EXPECT_EQ(base->MissesHandled(), 2u);
    EXPECT_EQ(base->EntryCount(), 1u);

    // Only the name whose miss was not recorded is found in a later mount.
    folder.Write("more/absent.text", "late");
    folder.Write("more/other.text", "late");
    Subst(Intern("base"), folder.Path("more/").c_str());
    EXPECT_EQ(Get("absent.text"), nullptr);
    EXPECT_EQ(base->Misses(), 2u);
    EXPECT_EQ(base->Lookups(), 3u);
    EXPECT_EQ(TextOf("other.text"), "late");
    EXPECT_EQ(TextOf("absent.text;other.text"), "late") << "a known miss is passed over";
    EXPECT_FALSE(Release("absent.text"));
    EXPECT_FALSE(Release("never asked for"));
}

TEST_F(ResourceFinding, FallbacksAreAskedOnceEach) {
    Mount("rest", {{"far.text", "far away"}, {"a.text", "not this one"}});
    Mount("last", {{"found.text", "at last"}});
    auto rest = std::make_unique<ResourceDatabase>(Intern("rest"));
    ResourceDatabase last(Intern("last"));
    EXPECT_EQ(rest->GetResource(Intern("found.text")), nullptr);
    base->AddFallback(*rest);
    base->AddFallback(last);
    rest->AddFallback(*base);
    EXPECT_EQ(TextOf("a.text"), "plain");
    EXPECT_EQ(TextOf("absent.text"), "(none)");
    EXPECT_EQ(TextOf("found.text"), "at last") << "one knows it to be missing, another one has it";

    Resource* const distant = Get("far.text");
    EXPECT_EQ(Get("far.text"), distant);
    EXPECT_EQ(distant->Home(), rest.get());
    EXPECT_EQ(distant->LastGivenBy(), base.get());
    EXPECT_EQ(distant->HolderCount(), 2u);  // its table, and the redirect in the other one
    EXPECT_TRUE(Release("far.text"));
    EXPECT_TRUE(Release("far.text"));
    EXPECT_EQ(distant->ReferenceCount(), 0u);

    // A database that ends removes the redirects to its resources.
    const std::size_t before = base->EntryCount();
    rest.reset();
    EXPECT_EQ(base->EntryCount(), before - 1);
    EXPECT_FALSE(FileSubstList::Instance().IsMounted(Intern("rest")));
    EXPECT_EQ(system->DatabaseCount(), 2u);
}

TEST_F(ResourceFinding, SearchHandlesListTheMount) {
    const auto search = base->CreateSearchHandle();
    EXPECT_EQ(search->CurrentEntry(), nullptr);
    std::set<std::string> names;
    for (bool more = search->OpenSearch("*.text", *base); more; more = search->NextEntry()) {
        names.emplace(search->CurrentEntry()->Name());
    }
    EXPECT_THAT(names, ElementsAre("a.text", "both.text"));
    const ResourceDatabase nothing{Intern("nothing")};
    EXPECT_THROW((void)search->OpenSearch("*", nothing), FileEx);
    EXPECT_EQ(search->CurrentEntry(), nullptr);
}

}  // namespace Vorn::Testing

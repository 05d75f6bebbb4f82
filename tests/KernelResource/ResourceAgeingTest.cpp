// How resources without references are kept, brought back and unloaded.
#include "KernelResource/ResourceBinCache.h"
#include "tests/KernelResource/ResourceLayer.h"

namespace Vorn::Testing {

class ResourceAgeing : public ResourceLayer {
protected:
    // Loads the first `count` texts and releases them.
    void Pass(std::size_t count) {
        OpenNumbered(count);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string name = std::to_string(i) + ".text";
            EXPECT_EQ(TextOf(name), "text " + std::to_string(i));
            EXPECT_TRUE(Release(name));
        }
    }
    // Returns how many resources the bin holds after one step.
    [[nodiscard]] std::size_t HeldAfter(float seconds) {
        system->Process(seconds);
        return dynamic_cast<ResourceBinCache&>(system->Bin()).HeldCount();
    }
};

TEST_F(ResourceAgeing, AResourceLivesFromItsNameToItsDeletion) {
    OpenBase({{"a.text", "hello"}, {"alias.text.txt", "Redirect=a.text"}});
    const ResourceAccounts& accounts = system->Accounts();
    Resource* const resource = Get("alias.text");
    EXPECT_EQ(Acquire(*resource), RES_RESOURCEOK);
    EXPECT_EQ(base->EntryCount(), 2u);

    // Referenced: it stays.
    resource->ReleaseUse();
    system->Process(30);
    EXPECT_EQ(resource->State(), ResourceState::Available);
    EXPECT_TRUE(Release("alias.text"));
    EXPECT_EQ(resource->State(), ResourceState::Inactive);
    EXPECT_EQ(accounts.available, 0u);
    EXPECT_NEAR(resource->LastUse(), 30, 0.1);
    EXPECT_NEAR(resource->Expiry(), 41, 1.1);

    // A lookup brings it back in time.
    system->Process(5);
    EXPECT_EQ(Get("a.text"), resource);
    EXPECT_EQ(resource->State(), ResourceState::Available);
    EXPECT_EQ(accounts.available, 1u);
    system->Process(30);
    EXPECT_EQ(TextOf("a.text"), "hello");
    EXPECT_EQ(texts.loads, 1);

    // Finally it is destroyed, with the redirect to it.
    EXPECT_TRUE(Release("a.text"));
    EXPECT_TRUE(Release("a.text"));
    EXPECT_EQ(accounts.Memory(), 5);
    system->Process(13);
    EXPECT_EQ(texts.alive, 0);
    EXPECT_EQ(texts.unloads, 1);
    EXPECT_EQ(base->EntryCount(), 0u);
    EXPECT_EQ(accounts.Count() + accounts.loaded + accounts.inUse + accounts.resources, 0u);
    EXPECT_EQ(accounts.Memory(), 0);
    EXPECT_FALSE(Release("a.text"));
    EXPECT_EQ(TextOf("alias.text"), "hello");
    EXPECT_EQ(texts.loads, 2);
}

TEST_F(ResourceAgeing, WhatIsLoadedUnreferencedGoesStraightToTheBin) {
    OpenNumbered(1);
    Resource& resource = Numbered(0);
    EXPECT_TRUE(Release("0.text"));
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_EQ(resource.State(), ResourceState::Inactive);
    EXPECT_EQ(HeldAfter(20), 1u) << "it is in use";
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_EQ(resource.State(), ResourceState::Available);
    EXPECT_EQ(texts.loads, 1);
    resource.ReleaseUse();
    resource.ReleaseUse();
    EXPECT_EQ(HeldAfter(13), 0u);
}

TEST_F(ResourceAgeing, WhatWasNeverLoadedAgesToo) {
    OpenBase({{"a.text", "hello"}, {"alias.text.txt", "Redirect=a.text"}, {"plain", "x"}});
    const ResourceAccounts& accounts = system->Accounts();
    Resource* const resource = Get("alias.text");
    EXPECT_NE(Get("plain"), nullptr);
    EXPECT_TRUE(Release("alias.text") && Release("plain"));
    EXPECT_EQ(HeldAfter(9), 2u);
    // A lookup takes it out of the bin, and a load finds it as it was.
    EXPECT_EQ(Get("a.text"), resource);
    EXPECT_EQ(resource->State(), ResourceState::Ready);
    EXPECT_EQ(HeldAfter(9), 0u);
    EXPECT_EQ(texts.alive, 1);
    EXPECT_TRUE(Release("a.text"));
    EXPECT_EQ(Acquire(*resource), RES_RESOURCEOK) << "from the bin";
    resource->ReleaseUse();
    EXPECT_EQ(HeldAfter(9), 1u);
    EXPECT_EQ(HeldAfter(4), 0u);
    EXPECT_EQ(texts.unloads, 1);

    EXPECT_NE(Get("a.text"), nullptr);
    EXPECT_TRUE(Release("a.text"));
    EXPECT_EQ(HeldAfter(13), 0u);
    EXPECT_EQ(texts.alive, 0);
    EXPECT_EQ(texts.unloads, 1) << "there was nothing to free";
    EXPECT_EQ(base->EntryCount(), 0u);
    EXPECT_EQ(accounts.Count() + accounts.loaded + accounts.resources, 0u);

    // A queued resource is kept, and ages once it is loaded.
    EXPECT_TRUE(system->QueueLoad(*Get("a.text")));
    EXPECT_TRUE(Release("a.text"));
    EXPECT_EQ(HeldAfter(13), 0u);
    while (texts.alive != 0) system->Process(13);

    Start("-ResourceInstantBin");
    OpenNumbered(1);
    EXPECT_NE(Get("0.text"), nullptr);
    EXPECT_TRUE(Release("0.text"));
    EXPECT_EQ(base->EntryCount(), 0u);
}

// Expiries are 10 to 12 seconds after entry. With many, a pass looks up to four seconds ahead.
TEST_F(ResourceAgeing, APassUnloadsMoreAndSoonerWhenThereAreMany) {
    using Steps = std::vector<std::pair<float, std::size_t>>;  // seconds, and what is held then
    const Table<const char*, std::size_t, Steps> table = {
        {"", 30, {{8.9F, 30}, {3, 25}, {0.4F, 25}, {0.2F, 20}}},
        {"-ResourceBinMaxDeleted=2 -ResourceBinProcessTime=0",
         30,
         {{8.4F, 30}, {3, 27}, {.1F, 25}}},
        {"", 200, {{5.9F, 200}, {2, 180}, {2, 162}}},
    };
    for (const auto& [text, count, steps] : table) {
        Start(text);
        Pass(count);
        for (const auto& [seconds, held] : steps) EXPECT_EQ(HeldAfter(seconds), held) << seconds;
    }
}

TEST_F(ResourceAgeing, AboveTheMemoryBudgetThingsGoSooner) {
    Start("-ResourceMemory=5");
    OpenBase({{"large.text", std::string(10'000'001, 'x')}});
    EXPECT_EQ(TextOf("large.text").size(), 10'000'001u);
    EXPECT_TRUE(Release("large.text"));
    EXPECT_EQ(HeldAfter(4.9F), 1u);
    EXPECT_EQ(HeldAfter(2.2F), 0u);  // five seconds before the latest expiry
}

TEST_F(ResourceAgeing, AnInstantBinUnloadsWithTheLastRelease) {
    Start("-ResourceInstantBin -ResourceCaching-");
    OpenNumbered(1);
    EXPECT_FALSE(system->IsCaching());
    Resource& resource = Numbered(0);
    EXPECT_FALSE(system->QueueLoad(resource));
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_TRUE(Release("0.text"));
    EXPECT_EQ(resource.State(), ResourceState::Available);
    resource.ReleaseUse();
    EXPECT_EQ(texts.alive, 0);
    EXPECT_EQ(TextOf("0.text"), "text 0");
    EXPECT_TRUE(Release("0.text"));
    EXPECT_EQ(texts.unloads, 2);

    // A replaced bin unloads what it held, except for what is in use.
    Start("");
    Pass(2);
    Resource& used = Numbered(1);
    EXPECT_TRUE(Release("1.text"));
    EXPECT_EQ(Acquire(used), RES_RESOURCEOK);
    system->SetBin(nullptr);
    EXPECT_EQ(texts.alive, 1);
    used.ReleaseUse();
    EXPECT_EQ(texts.alive, 0);
}

TEST_F(ResourceAgeing, ThreadsUseWhatAgesAllTheTime) {
    OpenNumbered(8);
    std::atomic<bool> done = false;
    std::jthread host([&] {
        while (!done) system->Process(6.0F);
    });
    InThreads(4, [&](std::size_t t) {
        for (std::size_t i = 0; i < 500; ++i) {
            const std::string number = std::to_string((i + t) % 8);
            const std::string name = number + ".text";
            EXPECT_EQ(TextOf(name), "text " + number);
            EXPECT_TRUE(Release(name));
            if (i % 3 != 0) continue;
            system->QueueLoad(*Get(name));
            EXPECT_TRUE(Release(name));
        }
    });
    done = true;
    host.join();
    EXPECT_EQ(system->Accounts().inUse, 0u);
}

TEST_F(ResourceAgeing, OptionsSetTheBudgetAndTheAge) {
    const Table<const char*, std::int64_t, double> table = {
        {nullptr, 0, 10},
        {"", 30'000'000, 10},
        {"-ResourceMemory=0", 10'000'000, 10},
        {"-ResourceMemory=64 -ResourceBinOldest=2.5", 64'000'000, 2.5},
        {"-ResourceBinOldest=", 30'000'000, 0},
        {"-ResourceBinOldest=nan -ResourceBinMaxDeleted=-7", 30'000'000, 0},
        {"-ResourceBinOldest=1e999 -ResourceBinProcessTime=x", 30'000'000, 0},
    };
    for (const auto& [text, budget, age] : table) {
        SCOPED_TRACE(text ? text : "no options");
        Start(text);
        EXPECT_EQ(system->MemoryBudget(), budget);
        Pass(1);
        EXPECT_NEAR(Numbered(0).Expiry(), age + 1, 1);
    }
}

}  // namespace Vorn::Testing

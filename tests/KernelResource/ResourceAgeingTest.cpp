// How resources that nobody references are kept, brought back and unloaded.
#include "KernelResource/ResourceBinCache.h"
#include "kernel/StartUp.h"
#include "kernel/services/KernelOptions.h"
#include "kernel/services/TaskManager.h"
#include "tests/KernelResource/ResourceLayer.h"

namespace Vorn::Testing {

class ResourceAgeing : public ResourceLayer {
protected:
    explicit ResourceAgeing(std::string_view optionText = "") : ResourceLayer(optionText) {}

    // Loads "<first>.text" and so on, and lets go of them.
    void Pass(int first, int count) {
        for (int i = first; i < first + count; ++i) {
            const std::string name = std::to_string(i) + ".text";
            EXPECT_EQ(TextOf(name), "text " + std::to_string(i));
            EXPECT_TRUE(Release(name));
        }
    }
    [[nodiscard]] std::size_t Held() {
        return dynamic_cast<ResourceBinCache&>(system->Bin()).HeldCount();
    }
};

TEST_F(ResourceAgeing, AResourceLivesFromItsNameToItsDeletion) {
    OpenBase({{"a.text", "hello"}, {"alias.text.txt", "Redirect=a.text"}});
    Resource* const resource = Get("alias.text");
    EXPECT_EQ(Acquire(*resource), RES_RESOURCEOK);
    EXPECT_EQ(base->EntryCount(), 2u);

    // In use or referenced: it stays.
    resource->ReleaseUse();
    Drive(30);
    EXPECT_EQ(resource->State(), ResourceState::Available);
    EXPECT_TRUE(Release("alias.text"));
    EXPECT_EQ(resource->State(), ResourceState::Inactive);
    EXPECT_EQ(system->Accounts().available, 0u);
    EXPECT_EQ(system->Accounts().loaded, 1u);
    EXPECT_NEAR(resource->LastUse(), 30, 0.1);
    EXPECT_GE(resource->Expiry(), 39.9);
    EXPECT_LT(resource->Expiry(), 42.1);

    // Brought back in time by a lookup.
    Drive(5);
    EXPECT_EQ(Get("a.text"), resource);
    EXPECT_EQ(resource->State(), ResourceState::Available);
    EXPECT_EQ(system->Accounts().available, 1u);
    Drive(30);
    EXPECT_EQ(TextOf("a.text"), "hello");
    EXPECT_EQ(texts.loads, 1);

    // And at last forgotten, with the redirect to it.
    EXPECT_TRUE(Release("a.text"));
    EXPECT_TRUE(Release("a.text"));
    EXPECT_EQ(resource->State(), ResourceState::Inactive);
    EXPECT_EQ(system->Accounts().Memory(), 5);
    Drive(13);
    EXPECT_EQ(texts.alive, 0);
    EXPECT_EQ(texts.unloads, 1);
    EXPECT_EQ(base->EntryCount(), 0u);
    EXPECT_EQ(system->Accounts().Memory(), 0);
    EXPECT_EQ(system->Accounts().loaded, 0u);
    EXPECT_EQ(system->Accounts().inUse, 0u);
    EXPECT_EQ(system->Accounts().resources, 0u);
    EXPECT_FALSE(Release("a.text"));

    EXPECT_EQ(TextOf("alias.text"), "hello");
    EXPECT_EQ(texts.loads, 2);
}

TEST_F(ResourceAgeing, WhatIsLoadedUnreferencedGoesStraightToTheBin) {
    OpenNumbered(1);
    Resource& resource = *Get("0.text");
    EXPECT_TRUE(Release("0.text"));
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_EQ(resource.State(), ResourceState::Inactive);
    Drive(20);
    EXPECT_EQ(texts.alive, 1) << "it is in use";
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_EQ(resource.State(), ResourceState::Available);
    EXPECT_EQ(texts.loads, 1);
    resource.ReleaseUse();
    resource.ReleaseUse();
    Drive(13);
    EXPECT_EQ(texts.alive, 0);
}

TEST_F(ResourceAgeing, APassUnloadsMoreAndSoonerWhenThereAreMany) {
    OpenNumbered(200);
    // 30 held: at most 5, and only within a second of their expiry, 10 to 12 seconds after entry.
    Pass(0, 30);
    Drive(8.5);
    EXPECT_EQ(Held(), 30u);
    Drive(4.2);
    const std::size_t left = Held();
    EXPECT_LE(left, 10u);
    EXPECT_EQ(left % 5, 0u) << "each pass had five that were due";
    Drive(2);
    EXPECT_EQ(Held(), 0u);

    // 200 held: up to 20 within four seconds of it. The first pass after six seconds has some.
    Pass(0, 200);
    Drive(5.5);
    EXPECT_EQ(Held(), 200u);
    Drive(2.9);
    EXPECT_LT(Held(), 200u);
    EXPECT_GE(Held(), 100u);
}

TEST_F(ResourceAgeing, ABinThatIsReplacedUnloadsWhatItHolds) {
    OpenNumbered(3);
    Pass(0, 2);
    Resource& used = *Get("2.text");
    EXPECT_TRUE(Release("2.text"));
    EXPECT_EQ(Acquire(used), RES_RESOURCEOK);
    EXPECT_EQ(Held(), 3u);
    system->SetBin(nullptr);
    EXPECT_EQ(texts.alive, 1);
    EXPECT_EQ(used.State(), ResourceState::Available);
    used.ReleaseUse();
    EXPECT_EQ(texts.alive, 0);
}

TEST_F(ResourceAgeing, ThreadsUseWhatAgesAllTheTime) {
    OpenNumbered(8);
    system->Bin().Configure(nullptr);
    std::atomic<bool> done = false;
    std::jthread host([&] {
        while (!done) system->Process(6.0F);
    });
    InThreads(4, [&](std::size_t t) {
        for (int i = 0; i < 500; ++i) {
            const std::string number = std::to_string((i + t) % 8);
            const std::string name = number + ".text";
            EXPECT_EQ(TextOf(name), "text " + number);
            if (i % 3 == 0) {
                if (Resource* resource = Get(name)) {
                    system->QueueLoad(*resource);
                    EXPECT_TRUE(Release(name));
                }
            }
            EXPECT_TRUE(Release(name));
        }
    });
    done = true;
    host.join();
    EXPECT_EQ(system->Accounts().inUse, 0u);
}

class InstantBin : public ResourceAgeing {
protected:
    InstantBin() : ResourceAgeing("-ResourceInstantBin -ResourceCaching-") {}
};

TEST_F(InstantBin, TheLastReleaseUnloads) {
    OpenNumbered(1);
    EXPECT_FALSE(system->IsCaching());
    Resource& resource = *Get("0.text");
    EXPECT_FALSE(system->QueueLoad(resource));
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_TRUE(Release("0.text"));
    EXPECT_EQ(resource.State(), ResourceState::Available);
    resource.ReleaseUse();
    EXPECT_EQ(texts.alive, 0);
    EXPECT_EQ(base->EntryCount(), 0u);
    EXPECT_EQ(TextOf("0.text"), "text 0");
    EXPECT_EQ(texts.alive, 1);
    EXPECT_TRUE(Release("0.text"));
    EXPECT_EQ(texts.alive, 0);
    EXPECT_EQ(texts.unloads, 2);
}

class SmallMemory : public ResourceAgeing {
protected:
    SmallMemory() : ResourceAgeing("-ResourceMemory=5 -ResourceBinProcessTime=0.2") {}
};

TEST_F(SmallMemory, AboveTheBudgetThingsGoSooner) {
    EXPECT_EQ(system->MemoryBudget(), 10'000'000);
    OpenBase({{"large.text", std::string(10'000'001, 'x')}, {"small.text", "text"}});
    for (const char* name : {"large.text", "small.text"}) {
        EXPECT_EQ(TextOf(name).size(), name[0] == 'l' ? 10'000'001u : 4u);
        EXPECT_TRUE(Release(name));
    }
    Drive(4);
    EXPECT_EQ(texts.alive, 2);
    Drive(4.5);  // expiries are 10 to 12 seconds away, less five
    EXPECT_LT(texts.alive, 2);
}

TEST(ResourceOptions, TheyGovernTheBin) {
    struct Row {
        const char* options;
        std::int64_t budget;
        double expires;  // after entry, at the latest
    };
    for (const Row& row : {Row{"", 30'000'000, 12},
                           {"-ResourceMemory=0", 10'000'000, 12},
                           {"-ResourceMemory=64 -ResourceBinOldest=2.5", 64'000'000, 4.5},
                           {"-ResourceBinOldest=", 30'000'000, 2},
                           {"-ResourceBinOldest=nan -ResourceBinMaxDeleted=-7", 30'000'000, 2},
                           {"-ResourceBinOldest=1e999 -ResourceBinProcessTime=x", 30'000'000, 2}}) {
        SCOPED_TRACE(row.options);
        OptionList options;
        ParseOptions(options, row.options);
        ResourceSystem system;
        system.Init(&options);
        EXPECT_EQ(system.MemoryBudget(), row.budget);
        TextType texts;
        auto resource = texts.Create(nullptr, Intern("held"));
        EXPECT_FALSE(system.Bin().Add(*resource));
        EXPECT_GE(resource->Expiry(), row.expires - 2);
        EXPECT_LT(resource->Expiry(), row.expires);
        resource = {};
        for (int i = 0; i < 150; ++i) system.Process(0.1F);
        EXPECT_EQ(texts.alive, 0);
    }
    ResourceSystem system;
    system.Init(nullptr);
    EXPECT_EQ(system.MemoryBudget(), 0);
}

TEST(ResourceTask, AHostDrivesTheSystemByItsTask) {
    TaskManager manager;
    ResourceSystem system;
    system.Init(nullptr);
    EXPECT_EQ(manager.Count(), 1u);
    KernelOptions options("", "", 0, 0);
    manager.Start(options);
    const double now = GetTimeSeconds();
    manager.Update(now);
    manager.Update(now + 2.5);
    EXPECT_GE(system.CurrentTime(), 2.5F);
}

TEST(ResourceNames, StatesAndResultsHaveTheirs) {
    EXPECT_STREQ(NameOf(ResourceState::None), "None");
    EXPECT_STREQ(NameOf(ResourceState::Locking), "Locking");
    EXPECT_STREQ(NameOf(ResourceState::Delete), "Delete");
    EXPECT_STREQ(DescribeResourceResult(RES_INVALID).text, "Unable to load resource or is missing");
    EXPECT_STREQ(DescribeResourceResult(RES_LOCK_TIMEOUT).name, "RES_LOCK_TIMEOUT");
    EXPECT_STREQ(DescribeResourceResult(ResourceResult{99}).name, "RES_FAILED_TO_LOAD");
}

}  // namespace Vorn::Testing

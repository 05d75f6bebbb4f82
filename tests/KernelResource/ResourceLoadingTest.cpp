// How resources are loaded, by their users and by the load queue.
#include <chrono>
#include <latch>

#include "KernelResource/LoadQueue.h"
#include "kernel/Exceptions.h"
#include "tests/KernelResource/ResourceLayer.h"

namespace Vorn::Testing {

class ResourceLoading : public ResourceLayer {
protected:
    // Runs `step` while the queue's worker is held inside the load of "0.text".
    template <typename Step>
    void WithTheWorkerHeld(const Step& step) {
        std::latch isIn(1);
        std::latch letGo(1);
        texts.onLoad = [&](TextResource& resource) {
            if (resource.Name().View() != "0.text") return;
            isIn.count_down();
            letGo.wait();
        };
        ASSERT_TRUE(system->QueueLoad(*Get("0.text")));
        isIn.wait();
        step([&] { letGo.count_down(); });
    }
};

TEST_F(ResourceLoading, AnAcquireLoadsOnceAndCountsUses) {
    OpenNumbered(1);
    Resource& resource = *Get("0.text");
    EXPECT_EQ(resource.State(), ResourceState::Ready);
    ResourceResult status = RES_RESOURCEOK;
    resource.GetStatus(status);
    EXPECT_EQ(status, RES_PARTIAL_LOAD);

    EXPECT_TRUE(resource.TryLoad());
    EXPECT_EQ(resource.State(), ResourceState::Available);
    resource.GetStatus(status);
    EXPECT_EQ(status, RES_RESOURCEOK);
    EXPECT_EQ(resource.AcquireCount(), 0u);
    EXPECT_EQ(resource.UseCount(), 0u);

    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_EQ(resource.UseCount(), 2u);
    EXPECT_EQ(resource.AcquireCount(), 2u);
    EXPECT_EQ(system->Accounts().inUse, 1u);
    resource.ReleaseUse();
    resource.ReleaseUse();
    EXPECT_EQ(resource.AcquireCount(), 0u);
    EXPECT_EQ(texts.loads, 1);
    EXPECT_EQ(resource.RequestCount(), 1u);
    EXPECT_EQ(system->Accounts().loaded, 1u);
    EXPECT_EQ(system->Accounts().available, 1u);
    EXPECT_EQ(system->Accounts().Memory(), 6);
}

TEST_F(ResourceLoading, AFailedLoadIsTriedOnce) {
    OpenBase({{"plain", ""}, {"bad.text", "cannot be finished"}, {"thrown.text", ""}});
    texts.onLoad = [](TextResource& resource) {
        if (resource.Name().View() == "thrown.text") throw FileEx("", 1, "thrown in a load");
    };
    for (const char* name : {"plain", "bad.text", "thrown.text"}) {
        SCOPED_TRACE(name);
        Resource& resource = *Get(name);
        EXPECT_EQ(Acquire(resource), RES_FAILED_TO_LOAD);
        EXPECT_EQ(resource.State(), ResourceState::Invalid);
        EXPECT_EQ(Acquire(resource), RES_INVALID);
        EXPECT_EQ(resource.RequestCount(), 1u);
        ResourceResult status = RES_RESOURCEOK;
        resource.GetStatus(status);
        EXPECT_EQ(status, RES_FAILED_TO_LOAD);
        EXPECT_EQ(Get(name), nullptr);
        EXPECT_FALSE(Release(name));
    }
    EXPECT_EQ(system->Accounts().loaded, 0u);
}

TEST_F(ResourceLoading, ListenersAreToldOnceItIsAvailable) {
    struct Counter : ResourceListener {
        void OnResourceAvailable(Resource& resource) override {
            EXPECT_EQ(resource.State(), ResourceState::Available);
            ++calls;
        }
        int calls = 0;
    };
    OpenNumbered(1);
    Resource& resource = *Get("0.text");
    Counter early;
    Counter removed;
    Counter late;
    resource.AddListener(early);
    resource.AddListener(removed);
    resource.RemoveListener(removed);
    EXPECT_EQ(early.calls, 0);
    EXPECT_TRUE(resource.TryLoad());
    EXPECT_TRUE(resource.TryLoad());
    resource.AddListener(late);
    EXPECT_EQ(early.calls, 1);
    EXPECT_EQ(removed.calls, 0);
    EXPECT_EQ(late.calls, 1);
}

TEST_F(ResourceLoading, ADuplicateLoadsByItself) {
    OpenNumbered(1);
    Resource& resource = *Get("0.text");
    const RefPtr<Resource> copy = resource.Duplicate();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->SourceName(), resource.SourceName());
    EXPECT_EQ(copy->Home(), base.get());
    EXPECT_EQ(Acquire(*copy), RES_RESOURCEOK);
    EXPECT_EQ(resource.State(), ResourceState::Ready);
    base.reset();
    EXPECT_EQ(copy->Home(), nullptr);
}

TEST_F(ResourceLoading, ThreadsThatAcquireOneResourceLoadItOnce) {
    OpenNumbered(50);
    for (int i = 0; i < 50; ++i) {
        Resource& resource = *Get(std::to_string(i) + ".text");
        if (i % 2) system->QueueLoad(resource);
        InThreads(4, [&](std::size_t) {
            EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
            EXPECT_TRUE(static_cast<TextResource&>(resource).IsFinished());
        });
        EXPECT_EQ(resource.AcquireCount(), 4u);
    }
    EXPECT_EQ(texts.loads, 50);
}

TEST_F(ResourceLoading, AtMostEightLoadsRun) {
    constexpr int kThreads = 12;
    constexpr int kEach = 4;
    OpenNumbered(kThreads * (kEach + 1));
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    std::latch eight(8);
    texts.onLoad = [&](TextResource&) {
        const int now = ++running;
        for (int seen = most; now > seen && !most.compare_exchange_weak(seen, now);) {
        }
        if (texts.loads <= 8) eight.arrive_and_wait();  // eight must be there together
        std::this_thread::yield();
        --running;
    };
    for (int i = 0; i < kThreads; ++i) {
        EXPECT_TRUE(system->QueueLoad(*Get(std::to_string(i * (kEach + 1) + kEach) + ".text")));
    }
    InThreads(kThreads, [&](std::size_t t) {
        for (int i = 0; i <= kEach; ++i) {
            const int number = static_cast<int>(t) * (kEach + 1) + i;
            EXPECT_EQ(TextOf(std::to_string(number) + ".text"), "text " + std::to_string(number));
        }
    });
    EXPECT_EQ(most, 8);
    EXPECT_EQ(texts.loads, kThreads * (kEach + 1));
}

TEST_F(ResourceLoading, LoadsInsideLoadsNeedNoFurtherPlace) {
    constexpr int kThreads = 10;
    OpenNumbered(2 * kThreads);
    std::latch allPlacesTaken(8);
    std::atomic<int> outer = 0;
    texts.onLoad = [&](TextResource& resource) {
        const int number = std::atoi(resource.Name().Text());
        if (number >= kThreads) return;
        if (++outer <= 8) allPlacesTaken.arrive_and_wait();
        EXPECT_EQ(Acquire(*Get(std::to_string(number + kThreads) + ".text")), RES_RESOURCEOK);
    };
    InThreads(kThreads, [&](std::size_t t) {
        EXPECT_EQ(Acquire(*Get(std::to_string(t) + ".text")), RES_RESOURCEOK);
    });
    EXPECT_EQ(texts.loads, 2 * kThreads);
}

TEST_F(ResourceLoading, RingsOfLoadsAreRefused) {
    OpenNumbered(3);
    std::array<Resource*, 3> resources = {Get("0.text"), Get("1.text"), Get("2.text")};
    std::latch bothLoad(2);
    std::atomic<int> refused = 0;
    texts.onLoad = [&](TextResource& resource) {
        if (&resource == resources[2]) {
            EXPECT_EQ(Acquire(resource), RES_LOCK_FAILED);
            return;
        }
        bothLoad.arrive_and_wait();
        const ResourceResult result = Acquire(*resources[&resource == resources[0] ? 1 : 0]);
        if (result == RES_LOCK_FAILED) ++refused;
    };
    InThreads(2, [&](std::size_t t) { EXPECT_EQ(Acquire(*resources[t]), RES_RESOURCEOK); });
    EXPECT_EQ(refused, 1);
    EXPECT_EQ(Acquire(*resources[2]), RES_RESOURCEOK);
}

TEST_F(ResourceLoading, AStepFinishesWhatTheWorkerHasRead) {
    OpenNumbered(1);
    auto& resource = static_cast<TextResource&>(*Get("0.text"));
    EXPECT_TRUE(system->QueueLoad(resource));
    while (resource.State() != ResourceState::Loaded) std::this_thread::yield();
    EXPECT_FALSE(resource.IsFinished());
    EXPECT_NE(resource.LoadedBy(), std::this_thread::get_id());
    // The worker may not have let go of it yet.
    while (resource.State() != ResourceState::Available) system->Process(0.01F);
    EXPECT_TRUE(resource.IsFinished());
    EXPECT_EQ(resource.AcquireCount(), 0u);
    EXPECT_FALSE(system->QueueLoad(resource));
}

TEST_F(ResourceLoading, AnAcquireWaitsForAQueuedLoad) {
    OpenNumbered(2);
    WithTheWorkerHeld([&](const auto& letGo) {
        auto& queued = static_cast<TextResource&>(*Get("1.text"));
        EXPECT_TRUE(system->QueueLoad(queued));
        EXPECT_FALSE(system->QueueLoad(queued));
        EXPECT_EQ(queued.State(), ResourceState::Cached);
        std::jthread user([&] { EXPECT_EQ(Acquire(queued), RES_RESOURCEOK); });
        Resource& first = *Get("0.text");
        EXPECT_EQ(first.State(), ResourceState::Loading);
        letGo();
        EXPECT_EQ(Acquire(first), RES_RESOURCEOK);
        user.join();
        EXPECT_EQ(queued.LoadedBy(), static_cast<TextResource&>(first).LoadedBy());
        EXPECT_NE(queued.LoadedBy(), std::this_thread::get_id());
    });
    EXPECT_EQ(texts.loads, 2);
}

TEST_F(ResourceLoading, OnlyEightAreHandedOverAndTheRestCanStillBeLoaded) {
    OpenNumbered(12);
    WithTheWorkerHeld([&](const auto& letGo) {
        std::vector<TextResource*> queued;
        for (int i = 1; i < 12; ++i) {
            queued.push_back(static_cast<TextResource*>(Get(std::to_string(i) + ".text")));
            EXPECT_TRUE(system->QueueLoad(*queued.back()));
        }
        EXPECT_EQ(queued[7]->State(), ResourceState::Cached);
        EXPECT_EQ(queued[8]->State(), ResourceState::Ready);
        // Waits for nobody.
        EXPECT_EQ(Acquire(*queued[10]), RES_RESOURCEOK);
        EXPECT_EQ(queued[10]->LoadedBy(), std::this_thread::get_id());

        // Whoever asks for one that waits takes it out of the queue, unless told not to.
        EXPECT_NE(Get("9.text", kLeaveInQueue), nullptr);
        EXPECT_FALSE(system->QueueLoad(*queued[8]));
        EXPECT_NE(Get("9.text"), nullptr);
        EXPECT_TRUE(system->QueueLoad(*queued[8]));

        // One that is taken back makes room for the next.
        EXPECT_EQ(queued[9]->State(), ResourceState::Ready);
        system->TakeOutOfQueue(*queued[0]);
        EXPECT_EQ(queued[0]->State(), ResourceState::Ready);
        EXPECT_EQ(queued[9]->State(), ResourceState::Cached);
        letGo();
        for (TextResource* resource : queued) EXPECT_EQ(Acquire(*resource), RES_RESOURCEOK);
    });
    EXPECT_EQ(texts.loads, 12);
}

TEST_F(ResourceLoading, ALoadTakesWhatItNeedsOutOfTheQueue) {
    OpenNumbered(2);
    Resource& needed = *Get("1.text");
    ResourceResult result = RES_INVALID;
    texts.onLoad = [&](TextResource& resource) {
        if (&resource != &needed) result = Acquire(needed);
    };
    Resource& first = *Get("0.text");
    system->QueueLoad(first);
    system->QueueLoad(needed);
    EXPECT_EQ(Acquire(first), RES_RESOURCEOK);
    EXPECT_EQ(result, RES_RESOURCEOK);
    EXPECT_EQ(texts.loads, 2);
}

TEST_F(ResourceLoading, TheEndOfADatabaseWaitsForItsLoads) {
    OpenNumbered(12);
    WithTheWorkerHeld([&](const auto& letGo) {
        std::vector<RefPtr<Resource>> queued;
        for (int i = 1; i < 12; ++i) {
            queued.emplace_back(Get(std::to_string(i) + ".text"));
            system->QueueLoad(*queued.back());
        }
        std::jthread other([&] {
            const auto isQueued = [](const RefPtr<Resource>& resource) {
                return resource->State() == ResourceState::Cached;
            };
            while (std::ranges::any_of(queued, isQueued)) std::this_thread::yield();
            queued.clear();
            letGo();
        });
        base.reset();
        other.join();
        EXPECT_EQ(texts.alive, 0);
    });
    EXPECT_EQ(texts.loads, 1);
}

TEST_F(ResourceLoading, AFullQueueTakesNothing) {
    OpenNumbered(1);
    const RefPtr<Resource> refused = texts.Create(nullptr, Intern("refused"));
    WithTheWorkerHeld([&](const auto& letGo) {
        std::vector<RefPtr<Resource>> queued;
        for (std::size_t i = 0; i < LoadQueue::kCapacity; ++i) {
            queued.push_back(texts.Create(nullptr, Intern("missing")));
            ASSERT_TRUE(system->QueueLoad(*queued.back()));
        }
        EXPECT_FALSE(system->QueueLoad(*refused));
        for (const RefPtr<Resource>& resource : queued) system->TakeOutOfQueue(*resource);
        EXPECT_TRUE(system->QueueLoad(*refused));
        system->TakeOutOfQueue(*refused);
        letGo();
    });
}

TEST_F(ResourceLoading, TheWorkerStopsAtOnce) {
    system.reset();
    constexpr int kSystems = 20;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < kSystems; ++i) {
        ResourceSystem other;
        other.Init(nullptr);
        EXPECT_TRUE(other.IsCaching());
    }
    // A worker that is only noticed between its rounds of a second would take twenty.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST(ResourceWithoutHome, ItsReferencesHoldIt) {
    ResourceSystem system;
    system.Init(nullptr);
    TextType texts;
    Resource* resource = nullptr;
    {
        const RefPtr<Resource> made = texts.Create(nullptr, Intern("loose"));
        resource = made.Get();
        EXPECT_EQ(resource->State(), ResourceState::Ready);
        EXPECT_TRUE(resource->AddReference());
        EXPECT_TRUE(resource->AddReference());
        EXPECT_EQ(resource->HolderCount(), 2u);
    }
    EXPECT_TRUE(resource->ReleaseReference());
    EXPECT_EQ(texts.alive, 1);
    EXPECT_TRUE(resource->ReleaseReference());
    EXPECT_EQ(texts.alive, 0);
}

}  // namespace Vorn::Testing

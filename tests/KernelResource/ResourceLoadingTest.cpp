// How resources are loaded, by their users and by the load queue.
#include <chrono>
#include <latch>

#include "kernel/StartUp.h"
#include "services/KernelOptions.h"
#include "services/TaskManager.h"
#include "tests/KernelResource/ResourceLayer.h"

namespace Vorn::Testing {

class ResourceLoading : public ResourceLayer {
protected:
    [[nodiscard]] static ResourceResult StatusOf(const Resource& resource) {
        ResourceResult status = RES_INVALID;
        resource.GetStatus(status);
        return status;
    }
    // Holds the queue's worker inside the load of "0.text" until `letGo` is counted down.
    void HoldTheWorker() {
        texts.onLoad = [this](TextResource& resource) {
            if (resource.Name().View() != "0.text") return;
            isIn_.count_down();
            letGo.wait();
        };
        EXPECT_TRUE(system->QueueLoad(Numbered(0)));
        isIn_.wait();
    }
    // Waits until another thread has brought the resource to a state.
    static void AwaitState(const Resource& resource, ResourceState state) {
        while (resource.State() != state) std::this_thread::yield();
    }

    std::latch letGo{1};

private:
    std::latch isIn_{1};
};

TEST_F(ResourceLoading, AnAcquireLoadsOnceTellsListenersAndCountsUses) {
    struct Counter : ResourceListener {
        void OnResourceAvailable(Resource& resource) override {
            calls += resource.State() == ResourceState::Available;
        }
        int calls = 0;
    };
    Counter early;
    Counter removed;
    Counter late;
    OpenNumbered(1);
    Resource& resource = Numbered(0);
    EXPECT_EQ(resource.State(), ResourceState::Ready);
    EXPECT_EQ(StatusOf(resource), RES_PARTIAL_LOAD);
    resource.AddListener(early);
    resource.AddListener(removed);
    resource.RemoveListener(removed);
    EXPECT_TRUE(resource.TryLoad());
    EXPECT_EQ(StatusOf(resource), RES_RESOURCEOK);
    EXPECT_EQ(resource.AcquireCount(), 0u);

    resource.AddListener(late);
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_EQ(Acquire(resource), RES_RESOURCEOK);
    EXPECT_EQ(resource.UseCount(), 2u);
    EXPECT_EQ(resource.AcquireCount(), 2u);
    resource.ReleaseUse();
    resource.ReleaseUse();
    EXPECT_EQ(resource.AcquireCount(), 0u);
    EXPECT_EQ(texts.loads, 1);
    EXPECT_THAT((std::array{early.calls, removed.calls, late.calls}), ElementsAre(1, 0, 1));
    const ResourceAccounts& accounts = system->Accounts();
    EXPECT_THAT((std::array{accounts.inUse.load(), accounts.loaded.load(),
                            accounts.available.load(), accounts.requests.load()}),
                testing::Each(1u));
    EXPECT_EQ(accounts.Memory(), 6);
}

TEST_F(ResourceLoading, AUseEndsWithItsScopeAndAFailedOneReleasesNothing) {
    OpenBase({{"a.text", "text"}, {"plain", ""}});
    Resource& resource = *Get("a.text");
    {
        ResourceUse first(resource);
        const ResourceUse second(resource);
        const ResourceUse moved(std::move(first));
        EXPECT_TRUE(moved && second);
        EXPECT_EQ(resource.AcquireCount(), 2u);
    }
    EXPECT_EQ(resource.AcquireCount(), 0u);

    Resource& plain = *Get("plain");
    const ResourceUse failed(plain);
    EXPECT_FALSE(failed);
    EXPECT_EQ(failed.Result(), RES_FAILED_TO_LOAD);
    EXPECT_EQ(plain.AcquireCount(), 0u);
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
        EXPECT_EQ(StatusOf(resource), RES_FAILED_TO_LOAD);
        EXPECT_EQ(Get(name), nullptr);
        EXPECT_FALSE(Release(name));
    }
    EXPECT_EQ(system->Accounts().loaded, 0u);
}

TEST_F(ResourceLoading, ThreadsThatWantOneResourceMakeAndLoadItOnce) {
    OpenNumbered(50);
    for (std::size_t i = 0; i < 50; ++i) {
        std::array<TextResource*, 4> found{};
        InThreads(found.size(), [&](std::size_t t) {
            found[t] = &Numbered(i);
            if ((i + t) % 4 == 0) system->QueueLoad(*found[t]);
            EXPECT_EQ(Acquire(*found[t]), RES_RESOURCEOK);
            EXPECT_TRUE(found[t]->isFinished);
        });
        EXPECT_THAT(found, testing::Each(found[0]));
        EXPECT_EQ(found[0]->ReferenceCount(), 4u);
        EXPECT_EQ(found[0]->AcquireCount(), 4u);
    }
    EXPECT_EQ(texts.loads, 50);
    EXPECT_EQ(texts.alive, 50);
}

TEST_F(ResourceLoading, ALoadWhileTheResourceIsTakenInIsAccounted) {
    OpenNumbered(1);
    bool isFirst = true;
    texts.onSize = [&] {
        if (!std::exchange(isFirst, false)) return;
        InThreads(1, [&](std::size_t) { EXPECT_TRUE(Numbered(0).TryLoad()); });
    };
    EXPECT_TRUE(Numbered(0).TryLoad());
    EXPECT_EQ(texts.loads, 1);
    EXPECT_EQ(system->Accounts().Count(), 1u);
    EXPECT_EQ(system->Accounts().Memory(), 6);
}

TEST_F(ResourceLoading, AtMostEightLoadsRunAndLoadsInsideThemNeedNoFurtherPlace) {
    constexpr std::size_t kThreads = 12;
    OpenNumbered(2 * kThreads);
    std::latch eight(8);
    std::atomic<int> begun = 0;
    std::atomic<int> running = 0;
    std::atomic<bool> tooMany = false;
    texts.onLoad = [&](TextResource& resource) {
        const std::size_t number = std::stoul(resource.Name().Text());
        if (number >= kThreads) return;
        if (++running > 8) tooMany = true;
        if (++begun <= 8) eight.arrive_and_wait();  // eight must be there together
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        TextResource& inner = Numbered(number + kThreads);
        system->QueueLoad(inner);  // the worker finds no free place
        EXPECT_EQ(Acquire(inner), RES_RESOURCEOK);
        --running;
    };
    EXPECT_TRUE(system->QueueLoad(Numbered(0)));  // the worker is one of the eight
    InThreads(kThreads, [&](std::size_t t) { EXPECT_EQ(Acquire(Numbered(t)), RES_RESOURCEOK); });
    EXPECT_FALSE(tooMany);
    EXPECT_EQ(texts.loads, 2 * kThreads);
}

TEST_F(ResourceLoading, RingsOfLoadsAreRefused) {
    OpenNumbered(3);
    std::array<Resource*, 3> resources = {&Numbered(0), &Numbered(1), &Numbered(2)};
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

TEST_F(ResourceLoading, TheTaskFinishesWhatTheWorkerHasRead) {
    TaskManager manager;
    KernelOptions none("", "", 0, 0);
    Start("");
    manager.Start(none);
    OpenNumbered(1);
    TextResource& resource = Numbered(0);
    EXPECT_TRUE(system->QueueLoad(resource));
    AwaitState(resource, ResourceState::Loaded);
    EXPECT_FALSE(resource.isFinished);
    double now = GetTimeSeconds();
    manager.Update(now);
    manager.Update(now += 2.5);
    EXPECT_GE(system->CurrentTime(), 2.5F);
    // The worker may still have its claim: then a step passes it over.
    while (resource.State() != ResourceState::Available) manager.Update(now += 0.1);
    EXPECT_TRUE(resource.isFinished);
    EXPECT_EQ(resource.AcquireCount(), 0u);
    EXPECT_FALSE(system->QueueLoad(resource));
    base.reset();
    system.reset();  // before its task's manager
}

TEST_F(ResourceLoading, AnAcquireWaitsForAQueuedLoad) {
    OpenNumbered(2);
    HoldTheWorker();
    TextResource& first = Numbered(0);
    TextResource& queued = Numbered(1);
    EXPECT_TRUE(system->QueueLoad(queued));
    EXPECT_FALSE(system->QueueLoad(queued));
    EXPECT_EQ(queued.State(), ResourceState::Cached);
    EXPECT_EQ(first.State(), ResourceState::Loading);
    std::latch asks(1);
    std::jthread user([&] {
        asks.count_down();
        EXPECT_EQ(Acquire(queued), RES_RESOURCEOK);
    });
    asks.wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // makes it likely that it waits
    letGo.count_down();
    EXPECT_EQ(Acquire(first), RES_RESOURCEOK);
    user.join();
    EXPECT_EQ(queued.loadedBy, first.loadedBy);
    EXPECT_EQ(texts.loads, 2);
}

TEST_F(ResourceLoading, OfFiveThousandInTheQueueEightAreHandedOver) {
    OpenNumbered(1);
    HoldTheWorker();
    const auto made = [&](int i) -> Resource& {
        return *Get("made/" + std::to_string(i), kLeaveInQueue);
    };
    int queued = 0;
    while (queued < 6000 && system->QueueLoad(made(queued))) ++queued;
    EXPECT_EQ(queued, 5000);
    EXPECT_EQ(made(7).State(), ResourceState::Cached);
    EXPECT_EQ(made(8).State(), ResourceState::Ready);
    EXPECT_EQ(Acquire(made(10)), RES_FAILED_TO_LOAD) << "without waiting";

    // A lookup takes a waiting resource out of the queue, unless a flag forbids it.
    EXPECT_FALSE(system->QueueLoad(made(8)));
    EXPECT_NE(Get("made/8"), nullptr);
    EXPECT_TRUE(system->QueueLoad(made(8)));

    // Taking one back makes room for the next.
    EXPECT_EQ(made(9).State(), ResourceState::Ready);
    system->TakeOutOfQueue(made(0));
    EXPECT_EQ(made(0).State(), ResourceState::Ready);
    EXPECT_EQ(made(9).State(), ResourceState::Cached);
    letGo.count_down();
}

TEST_F(ResourceLoading, TheEndOfADatabaseWaitsForItsLoads) {
    OpenNumbered(2);
    HoldTheWorker();
    RefPtr<Resource> queued(&Numbered(1));
    EXPECT_TRUE(system->QueueLoad(*queued));
    std::jthread other([&] {
        while (queued->State() == ResourceState::Cached) std::this_thread::yield();
        queued = {};
        letGo.count_down();
    });
    base.reset();
    other.join();
    EXPECT_EQ(texts.alive, 0);
    EXPECT_EQ(texts.loads, 1);
}

TEST_F(ResourceLoading, NothingThatTheWorkerHasReadOutlivesItsDatabase) {
    for (const char* name : {"plain.text", "described.text"}) {
        SCOPED_TRACE(name);
        OpenBase({{"plain.text", "text"}, {"described.text.txt", "Text=text"}});
        Resource* const resource = Get(name);
        ASSERT_TRUE(system->QueueLoad(*resource));
        AwaitState(*resource, ResourceState::Loaded);
        base.reset();
        EXPECT_EQ(texts.alive, 0);
    }
}

TEST_F(ResourceLoading, TheWorkerStopsAtOnce) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i) Start("");
    // A worker that checked only between its rounds of a second would take twenty seconds.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST_F(ResourceLoading, WithoutAHomeItsReferencesHoldAResource) {
    OpenNumbered(1);
    RefPtr<Resource> copy = Numbered(0).Duplicate();
    EXPECT_EQ(copy->SourceName(), Numbered(0).SourceName());
    EXPECT_TRUE(copy->AddReference());
    base.reset();
    EXPECT_EQ(copy->Home(), nullptr);
    EXPECT_TRUE(copy->AddReference());
    Resource& resource = *copy;
    copy = {};
    EXPECT_TRUE(resource.ReleaseReference());
    EXPECT_EQ(texts.alive, 1);
    EXPECT_TRUE(resource.ReleaseReference());
    EXPECT_EQ(texts.alive, 0);
}

}  // namespace Vorn::Testing

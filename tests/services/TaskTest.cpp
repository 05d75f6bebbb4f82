// The kernel's start; its tasks: their register, and the host that drives them.
#include <cmath>

#include "kernel/Exceptions.h"
#include "kernel/StartUp.h"
#include "platform/Threads.h"
#include "services/Kernel.h"
#include "services/KernelOptions.h"
#include "services/Task.h"
#include "services/TaskManager.h"
#include "services/WellKnownNames.h"
#include "tests/services/LogFixture.h"

namespace Vorn::Testing {
namespace {

using testing::_;
using testing::StartsWith;

std::vector<std::string> happened;

class NotingTask : public Task {
public:
    explicit NotingTask(const char* name, float period = 0) : Task(Intern(name), false, period) {}
    ~NotingTask() override { Note("gone"); }
    bool Start(KernelOptions& options) override {
        Note("start");
        return willing && Task::Start(options);
    }
    int Update(float elapsedSeconds) override {
        Note(std::to_string(elapsedSeconds).substr(0, 4));
        return atUpdate(), 0;
    }
    void Note(const std::string& what) const { happened.push_back(GetName().Text() + " "s + what); }

    bool willing = true;
    std::function<void()> atUpdate = [] {};
};

class Tasks : public LogFixture {
protected:
    std::vector<std::string> Pass(double seconds) {
        happened.clear();
        manager_.Update(now_ += seconds);
        return happened;
    }

    TaskManager manager_;
    KernelOptions options_{"", "", 0, 0};
    double now_ = std::ceil(GetTimeSeconds());  // whole, so that sums are exact
};

TEST_F(Tasks, AreStartedOnceAndUpdatedWhenTheirPeriodHasPassed) {
    const NotingTask often("often");
    const NotingTask seldom("seldom", 2);
    EXPECT_THAT(Pass(5), IsEmpty());
    EXPECT_EQ(manager_.GetOptions(), nullptr);
    manager_.Start(options_);
    manager_.Start(options_);
    EXPECT_THAT(happened, ElementsAre("often start", "seldom start"));
    EXPECT_EQ(manager_.GetOptions(), &options_);

    EXPECT_THAT(Pass(0), ElementsAre(StartsWith("often 6."), StartsWith("seldom 6.")));
    EXPECT_THAT(Pass(1.75), ElementsAre("often 1.75"));
    EXPECT_THAT(Pass(0.25), ElementsAre("often 0.25", "seldom 2.00"));
    EXPECT_THAT(Pass(-1), IsEmpty());
    EXPECT_THAT(Pass(2), ElementsAre("often 1.00"));
    EXPECT_EQ(manager_.PassTime(), now_);
    EXPECT_EQ(manager_.PassSeconds(), 2.0F);

    // One that comes late, and does not want at first.
    NotingTask late("late", 1);
    late.willing = false;
    EXPECT_THAT(Pass(1), ElementsAre("often 1.00", "seldom 2.00", "late start"));
    EXPECT_THAT(Pass(0.5), ElementsAre("often 0.50"));
    late.willing = true;
    EXPECT_THAT(Pass(0.5), ElementsAre("often 0.50", "late start", "late 1.00"));
}

TEST_F(Tasks, MayComeAndGoDuringAPass) {
    NotingTask first("first");
    auto second = std::make_unique<NotingTask>("second");
    NotingTask third("third");
    std::unique_ptr<NotingTask> fourth;
    manager_.Start(options_);
    first.atUpdate = [&] {
        second.reset();
        if (!fourth) fourth = std::make_unique<NotingTask>("fourth");
    };
    Pass(1);
    EXPECT_THAT(happened, ElementsAre(StartsWith("first"), "second gone", StartsWith("third")));
    third.atUpdate = [] { throw Exception("", 0, "in a task"); };
    EXPECT_THROW(Pass(1), Exception);
    EXPECT_THAT(happened, ElementsAre("first 1.00", "third 1.00"));
    third.atUpdate = [] {};
    EXPECT_THAT(Pass(1), ElementsAre("first 1.00", "third 1.00", "fourth start", _));
}

TEST_F(Tasks, EndWithTheManagerThatOwnsThem) {
    auto manager = std::make_unique<TaskManager>();
    for (const char* name : {"a", "b", "c"}) manager->Adopt(std::make_unique<NotingTask>(name));
    const NotingTask kept("kept");
    auto* extra = new NotingTask("extra");
    manager->Adopt(std::unique_ptr<Task>(extra));
    EXPECT_TRUE(extra->IsActive() && !kept.IsActive());
    happened.clear();
    delete extra;
    EXPECT_EQ(manager->Count(), 4u);
    EXPECT_EQ(manager->ActiveCount(), 3u);
    manager.reset();
    EXPECT_THAT(happened, ElementsAre("extra gone", "a gone", "b gone", "c gone"));
    EXPECT_EQ(FindTaskManager(), nullptr);
}

TEST_F(Tasks, OfTheKernelStartTheLogForAHostThatStartsThem) {
    auto kernel = std::make_unique<Kernel>();
    EXPECT_EQ(FindTaskManager()->Count(), 1u);
    EXPECT_FALSE(folder_.Has("VornLog.txt"));
    auto options = std::make_unique<KernelOptions>("", "", 0, 0);
    FindTaskManager()->Start(*options);
    options.reset();
    EXPECT_EQ(FindTaskManager()->GetOptions(), nullptr) << "they have ended";
    kernel.reset();
    EXPECT_EQ(FindTaskManager(), nullptr);
    EXPECT_EQ(Body(), "Begin:\r\n") << "the log outlives the kernel";
}

TEST(KernelStart, InternsTheWellKnownNamesAndRecordsTheMainThread) {
    const auto start = [](std::size_t) {
        const Kernel kernel;
        EXPECT_EQ(MainThreadId(), platform::CurrentThreadId());
    };
    InThreads(1, start);
    start(0);
    const Table<WellKnownName, const char*> rows = {
        {WellKnownName::OnMinZoom, "OnMinZoom"},
        {WellKnownName::OnMaxTargetYaw, "OnMaxTargetYaw"},
        {WellKnownName::Mcp, "MCP"},
        {WellKnownName::UserInterface, "UserInterface"},
        {WellKnownName::Empty, ""}};
    for (const auto& [name, text] : rows) EXPECT_EQ(NameOf(name), Intern(text)) << text;
}

}  // namespace
}  // namespace Vorn::Testing

#include "services/TaskManager.h"

#include <algorithm>
#include <utility>

#include "services/Task.h"

namespace Vorn {
namespace {

constinit TaskManager* current = nullptr;

}  // namespace

TaskManager::TaskManager() { current = this; }

TaskManager::~TaskManager() {
    while (!active_.empty()) {
        // Taken from the list first, because the task's destructor unregisters it.
        const std::unique_ptr<Task> task = std::move(active_.front());
        active_.erase(active_.begin());
    }
    current = nullptr;
}

// A turn may make and destroy tasks, and may begin a pass inside this one. New tasks wait for the
// next pass; the places of destroyed ones stay empty until the outermost pass ends, so that no
// index moves.
template <typename Turn>
void TaskManager::ForEachTask(const Turn& turn) {
    struct Pass {
        explicit Pass(TaskManager& owner) : manager(owner) { ++manager.passes_; }
        ~Pass() {
            if (--manager.passes_ > 0 || !manager.changed_) return;
            std::erase(manager.tasks_, nullptr);
            manager.changed_ = false;
        }
        TaskManager& manager;
    };
    const Pass pass(*this);
    const std::size_t end = tasks_.size();
    for (std::size_t i = 0; i < end; ++i) {
        if (tasks_[i]) turn(*tasks_[i]);
    }
}

void TaskManager::Adopt(std::unique_ptr<Task> task) {
    task->active_ = true;
    active_.push_back(std::move(task));
}

void TaskManager::Start(KernelOptions& options) {
    options_ = &options;
    ForEachTask([&](Task& task) {
        if (!task.started_) task.Start(options);
    });
}

void TaskManager::Update(double now) {
    passSeconds_ = passTime_ > 0 ? static_cast<float>(now - passTime_) : 0.0F;
    passTime_ = now;
    ForEachTask([&](Task& task) {
        const double elapsed = now - task.lastTime_;
        if (elapsed < static_cast<double>(task.period_)) return;
        if (!task.started_ && !options_) return;
        task.lastTime_ = now;
        if (task.started_ || task.Start(*options_)) task.Update(static_cast<float>(elapsed));
    });
}

void TaskManager::ForgetOptions(const KernelOptions& options) {
    if (options_ == &options) options_ = nullptr;
}

std::size_t TaskManager::Count() const {
    return tasks_.size() - static_cast<std::size_t>(std::ranges::count(tasks_, nullptr));
}

std::size_t TaskManager::ActiveCount() const { return active_.size(); }

void TaskManager::Register(Task& task) { tasks_.push_back(&task); }

void TaskManager::Unregister(Task& task) {
    const auto place = std::ranges::find(tasks_, &task);
    if (place == tasks_.end()) return;
    if (passes_ > 0) {
        *place = nullptr;
        changed_ = true;
    } else {
        tasks_.erase(place);
    }
    if (!task.active_) return;
    const auto owned = std::ranges::find(active_, &task, &std::unique_ptr<Task>::get);
    if (owned == active_.end()) return;
    // The task's destructor is running already, so the list must not delete it again.
    (void)owned->release();
    active_.erase(owned);
}

TaskManager* FindTaskManager() { return current; }

}  // namespace Vorn

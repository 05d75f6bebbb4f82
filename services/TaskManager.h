// The register of all tasks, through which a host drives them.
//
// A host calls Start once it has its options, and then Update in every frame. In a program that
// does neither, tasks are only registered.
//
// Threads: the manager and all tasks belong to one thread at a time. Tasks may be made, adopted and
// destroyed while a pass runs, except for the one whose turn it is.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace Vorn {

class KernelOptions;
class Task;

class TaskManager {
public:
    // Becomes the manager that FindTaskManager returns. Only one object at a time.
    TaskManager();
    TaskManager(const TaskManager&) = delete;
    TaskManager& operator=(const TaskManager&) = delete;
    // Destroys the tasks it owns, the oldest first; the others stay with their owners.
    ~TaskManager();

    // Makes the manager own a task until the task is destroyed.
    void Adopt(std::unique_ptr<Task> task);

    // Starts every registered task that is not started, in order of registration. Keeps a reference
    // to `options` for later tasks and GetOptions, until they are destroyed.
    void Start(KernelOptions& options);

    // Runs one pass at time `now` of GetTimeSeconds, in order of registration. Each task whose
    // period has passed since its last turn is started if necessary, and then updated with the
    // seconds since that turn. A task that does not start, or for which there are no options yet,
    // is not updated. Tasks made during a pass have their turn in the next one.
    void Update(double now);

    // Returns null until the tasks were started.
    [[nodiscard]] KernelOptions* GetOptions() const { return options_; }
    void ForgetOptions(const KernelOptions& options);

    // Return the time of the last pass in seconds of GetTimeSeconds, and the seconds between it and
    // the pass before; both 0 before the first pass.
    [[nodiscard]] double PassTime() const { return passTime_; }
    [[nodiscard]] float PassSeconds() const { return passSeconds_; }

    [[nodiscard]] std::size_t Count() const;        // all registered tasks
    [[nodiscard]] std::size_t ActiveCount() const;  // those that the manager owns

private:
    friend class Task;
    void Register(Task& task);
    void Unregister(Task& task);

    template <typename Turn>
    void ForEachTask(const Turn& turn);

    std::vector<Task*> tasks_;  // null where a task was destroyed during a pass
    std::vector<std::unique_ptr<Task>> active_;
    int passes_ = 0;        // passes running now; they may nest
    bool changed_ = false;  // tasks_ has nulls
    double passTime_ = 0;
    float passSeconds_ = 0;
    KernelOptions* options_ = nullptr;
};

// Returns the kernel's manager; null before the Kernel is constructed and after it is destroyed.
[[nodiscard]] TaskManager* FindTaskManager();

}  // namespace Vorn

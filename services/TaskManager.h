// The register of all tasks, and the place where a host drives them.
//
// A host calls Start once it has its options, and then Update in every frame. A program that does
// neither only has its tasks registered.
//
// Threads: the manager and all tasks belong to one thread at a time. Tasks may be made, handed
// over and destroyed while a pass runs, the one whose turn it is excepted.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace Vorn {

class KernelOptions;
class Task;

class TaskManager {
public:
    // Becomes what FindTaskManager gives, until it is destroyed. One at a time.
    TaskManager();
    TaskManager(const TaskManager&) = delete;
    TaskManager& operator=(const TaskManager&) = delete;
    // Destroys the tasks of the active list, the oldest first; the others stay with their owners.
    ~TaskManager();

    // Makes the manager own a task: it enters the active list, and leaves it when it is destroyed.
    void Adopt(std::unique_ptr<Task> task);

    // Starts every registered task that is not started, in order of registration. `options` are
    // remembered for tasks that come later and for whoever asks; they are borrowed and forgotten
    // when they are destroyed.
    void Start(KernelOptions& options);

    // One pass at time `now` of GetTimeSeconds, in order of registration: each task whose period
    // has passed since its last turn has its turn. It is started if it is not, and then updated
    // with the seconds since its last turn. A task that does not start, or for which there are no
    // options yet, is not updated. Tasks made during a pass wait for the next one.
    void Update(double now);

    // Null until the tasks were started.
    [[nodiscard]] KernelOptions* GetOptions() const { return options_; }
    void ForgetOptions(const KernelOptions& options);

    // When the last pass was, in seconds of GetTimeSeconds, and its distance from the one before;
    // both 0 before the first pass.
    [[nodiscard]] double PassTime() const { return passTime_; }
    [[nodiscard]] float PassSeconds() const { return passSeconds_; }

    [[nodiscard]] std::size_t Count() const;        // of all registered tasks
    [[nodiscard]] std::size_t ActiveCount() const;  // of those that the manager owns

private:
    friend class Task;
    void Register(Task& task);
    void Unregister(Task& task);

    template <typename Turn>
    void ForEachTask(const Turn& turn);

    std::vector<Task*> tasks_;  // in a pass, null where one left
    std::vector<std::unique_ptr<Task>> active_;
    int passes_ = 0;        // running now, one inside the other
    bool changed_ = false;  // tasks_ has nulls
    double passTime_ = 0;
    float passSeconds_ = 0;
    KernelOptions* options_ = nullptr;
};

// The kernel's manager; null before the Kernel was constructed and after its end.
[[nodiscard]] TaskManager* FindTaskManager();

}  // namespace Vorn

// A named unit of periodic work. It registers itself with the kernel's TaskManager when it is made
// and leaves it when it is destroyed; TaskManager.h says when its operations are called.
//
// Whoever made a task owns it, unless it was handed to the manager. A task made while there is no
// manager belongs to none and is never driven.
//
// Threads: as the manager, one thread at a time.
#pragma once

#include "kernel/InternedString.h"

namespace Vorn {

class KernelOptions;

class Task {
public:
    // `period` in seconds: the least time between two updates, 0 for every pass. `option` is kept
    // for the task's creator.
    Task(const InternedString& name, bool option, float period);
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    // The virtual operations, in slot order.
    virtual ~Task();
    [[nodiscard]] virtual const InternedString& GetName() const { return name_; }
    // Marks the task as started. False when it could not start: it is asked again later.
    virtual bool Start(KernelOptions& options);
    // Does nothing in any task; it keeps the order of the operations.
    virtual void Reserved() {}
    // `elapsedSeconds` since the last update. The result is not looked at.
    virtual int Update(float elapsedSeconds);

    [[nodiscard]] bool Option() const { return option_; }
    [[nodiscard]] float Period() const { return period_; }
    [[nodiscard]] bool IsStarted() const { return started_; }
    // Whether the manager owns the task.
    [[nodiscard]] bool IsActive() const { return active_; }

    // When the task had its last turn, in seconds of GetTimeSeconds; a new task counts as one
    // second overdue.
    [[nodiscard]] double LastTime() const { return lastTime_; }

private:
    friend class TaskManager;

    InternedString name_;
    double lastTime_;
    float period_;
    bool option_;
    bool active_ = false;
    bool started_ = false;
};

}  // namespace Vorn

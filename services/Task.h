// A named unit of periodic work. Its constructor registers it with the kernel's TaskManager and its
// destructor removes it; TaskManager.h describes when its operations are called.
//
// Its creator owns a task, unless the manager has adopted it. A task made while there is no manager
// has none and is never driven.
//
// Threads: like the manager, one thread at a time.
#pragma once

#include "kernel/InternedString.h"

namespace Vorn {

class KernelOptions;

class Task {
public:
    // Makes a task that is not started. `period` is the least time between two updates in seconds,
    // 0 for every pass. `option` is a value of the creator's own.
    Task(const InternedString& name, bool option, float period);
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    // The virtual operations, in slot order.
    virtual ~Task();
    [[nodiscard]] virtual const InternedString& GetName() const { return name_; }
    // Marks the task as started. An override returns false if it could not start; the manager then
    // tries again later.
    virtual bool Start(KernelOptions& options);
    // Does nothing; it keeps the fixed order of the virtual operations.
    virtual void Reserved() {}
    // Does the work; `elapsedSeconds` is the time since the last update. The result is ignored.
    virtual int Update(float elapsedSeconds);

    [[nodiscard]] bool Option() const { return option_; }
    [[nodiscard]] float Period() const { return period_; }
    [[nodiscard]] bool IsStarted() const { return started_; }
    // Returns whether the manager owns the task.
    [[nodiscard]] bool IsActive() const { return active_; }

    // Returns when the task last had its turn, in seconds of GetTimeSeconds. A new task counts as
    // last run one second ago.
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

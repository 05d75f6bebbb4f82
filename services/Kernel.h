// Brings the kernel up for main and takes it down again.
#pragma once

#include <memory>

namespace Vorn {

class Task;
class TaskManager;

// The first local of main, constructed before other threads exist: records the main thread, makes
// sure of the string pool, interns the well-known names, and makes the task manager and the log's
// task. The task is not started: a program that has no host for tasks calls InitLog where it wants
// a log. One at a time.
//
// Its end destroys the log's task, then the task manager with the tasks that it owns.
class Kernel {
public:
    Kernel();
    ~Kernel();
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;

private:
    std::unique_ptr<TaskManager> taskManager_;
    std::unique_ptr<Task> logTask_;
};

}  // namespace Vorn

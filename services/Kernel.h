// Starts the kernel for main and shuts it down again.
#pragma once

#include <memory>

namespace Vorn {

class Task;
class TaskManager;

// The first local variable of main, constructed before other threads exist. Records the main
// thread, makes sure that the string pool exists, interns the well-known names, and makes the task
// manager and the log's task. The task is not started: a program without a host for tasks calls
// InitLog where it wants a log. Only one object at a time.
//
// The destructor destroys the log's task, then the task manager with the tasks it owns.
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

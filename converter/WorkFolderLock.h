// Keeps a second converter out of the program folder, whose working files have fixed names.
#pragma once

#include "platform/Files.h"

// Held for the life of the object, freed by the system however the process ends. It is a share
// mode on the program's own file, so it leaves nothing behind.
class WorkFolderLock {
public:
    // Waits, with a line on standard error, while another converter is at work.
    void Acquire(const char* programPath);

private:
    platform::FileHandle program_;
};

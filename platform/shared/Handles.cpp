// Moving and closing the owners of system handles: what both back ends do alike, whatever a handle
// is to the system.
#include <utility>

#include "platform/Files.h"
#include "platform/FolderHandle.h"
#include "platform/Libraries.h"
#include "platform/Processes.h"

namespace platform {

FileHandle::FileHandle(FileHandle&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
    if (this != &other) {
        Close();
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

FileHandle::~FileHandle() { Close(); }

FolderHandle::FolderHandle(FolderHandle&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

FolderHandle& FolderHandle::operator=(FolderHandle&& other) noexcept {
    if (this != &other) {
        Close();
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

FolderHandle::~FolderHandle() { Close(); }

Library::Library(Library&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}

Library& Library::operator=(Library&& other) noexcept {
    if (this != &other) {
        Free();
        handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
}

Library::~Library() { Free(); }

Process::Process(Process&& other) noexcept
    : processId_(std::exchange(other.processId_, -1)),
      ended_(std::exchange(other.ended_, false)),
      exitCode_(std::exchange(other.exitCode_, 0)) {}

Process& Process::operator=(Process&& other) noexcept {
    if (this != &other) {
        Close();
        processId_ = std::exchange(other.processId_, -1);
        ended_ = std::exchange(other.ended_, false);
        exitCode_ = std::exchange(other.exitCode_, 0);
    }
    return *this;
}

Process::~Process() { Close(); }

}  // namespace platform

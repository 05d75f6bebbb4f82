// The exceptions that the kernel throws for misuse and unrecoverable errors.
//
// An exception holds the source file (as a module path, such as "KernelStandard/File"), the line, a
// reason and its class name. All of it is inside the object, so copying never fails.
#pragma once

#include <array>
#include <cstdarg>

#include "platform/PrintfCheck.h"

namespace Vorn {

class Exception {
public:
    // Copies `reason`, cut to 255 characters. `file` must be a constant.
    Exception(const char* file, int line, const char* reason);

    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    virtual ~Exception() = default;

    [[nodiscard]] virtual const char* GetClassName() const { return "Unknown"; }
    [[nodiscard]] virtual bool IsFlagged() const { return flag_; }
    [[nodiscard]] virtual const char* GetCallStack() const { return callStack_.data(); }
    [[nodiscard]] virtual const char* GetReason() const { return reason_.data(); }

    [[nodiscard]] const char* GetFile() const { return file_; }
    [[nodiscard]] int GetLine() const { return line_; }

protected:
    // Leaves the reason empty, for FormatReason.
    Exception(const char* file, int line);

    // Sets the reason printf-style, cut to 255 characters.
    void FormatReason(const char* format, std::va_list arguments) VORN_PRINTF(2, 0);

private:
    std::array<char, 4096> callStack_{};
    std::array<char, 256> reason_{};
    bool flag_ = false;
    int line_ = 0;
    const char* file_ = "";
};

// Thrown by the file layer.
class FileEx : public Exception {
public:
    FileEx(const char* file, int line, const char* reason) : Exception(file, line, reason) {}
    // Makes an exception with a printf-style reason, cut to 255 characters.
    [[nodiscard]] static FileEx Formatted(const char* file, int line, const char* format, ...)
        VORN_PRINTF(3, 4);
    [[nodiscard]] const char* GetClassName() const override { return "File"; }

private:
    FileEx(const char* file, int line) : Exception(file, line) {}
};

}  // namespace Vorn

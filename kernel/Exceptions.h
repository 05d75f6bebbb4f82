// What the kernel throws for misuse and unrecoverable errors.
//
// An exception carries the source file (by its module path, such as "KernelStandard/File"), the
// line, a reason and its class name. Objects are self-contained: copying never fails.
#pragma once

#include <array>

namespace Vorn {

class Exception {
public:
    // Copies `reason`, cut to 255 characters. `file` must be a constant.
    Exception(const char* file, int line, const char* reason);

    virtual ~Exception() = default;
    [[nodiscard]] virtual const char* GetClassName() const { return "Unknown"; }
    [[nodiscard]] virtual bool IsFlagged() const { return flag_; }
    [[nodiscard]] virtual const char* GetCallStack() const { return callStack_.data(); }
    [[nodiscard]] virtual const char* GetReason() const { return reason_.data(); }

    [[nodiscard]] const char* GetFile() const { return file_; }
    [[nodiscard]] int GetLine() const { return line_; }

protected:
    // The form whose reason is formatted afterwards.
    Exception(const char* file, int line);
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;

    // Sets the reason printf-style, cut to 255 characters.
    void FormatReason(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
    std::array<char, 4096> callStack_{};
    std::array<char, 256> reason_{};
    bool flag_ = false;
    int line_ = 0;
    const char* file_ = "";
};

// Errors of the file layer.
class FileEx : public Exception {
public:
    FileEx(const char* file, int line, const char* reason) : Exception(file, line, reason) {}
    // The reason formatted printf-style.
    template <typename... Arguments>
    static FileEx Formatted(const char* file, int line, const char* format, Arguments... arguments);
    [[nodiscard]] const char* GetClassName() const override { return "File"; }
};

}  // namespace Vorn

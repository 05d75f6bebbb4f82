#include "platform/FaultTools.h"

#include <algorithm>
#include <array>
#include <cwchar>

#include "platform/CodePage.h"
#include "platform/windows/Handles.h"

namespace platform {

using windows::ToHandle;

namespace {

// Converts without the heap, which the faulting thread may hold. False if it does not fit.
template <std::size_t Size>
bool ToFixed(const char* text, std::array<wchar_t, Size>& wide) {
    wide = {};
    constexpr int kMost = static_cast<int>(Size) - 1;
    if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, wide.data(), kMost) == 0) {
        std::size_t length = 0;
        for (; text[length] != '\0'; ++length) {
            if (length == Size - 1) return false;
            wide[length] =
                static_cast<wchar_t>(AnsiToUtf16(static_cast<unsigned char>(text[length])));
        }
        wide[length] = L'\0';
    }
    return true;
}

}  // namespace

FaultFile::~FaultFile() {
    if (descriptor_ >= 0) CloseHandle(ToHandle(descriptor_));
}

bool FaultFile::Create(const char* path, bool writeThrough) {
    std::array<wchar_t, 4096> name;
    if (!ToFixed(path, name)) return false;
    DeleteFileW(name.data());
    // CREATE_NEW also refuses to write through a link that another user may have put there. The
    // user's own folders, where reports go, are closed to others.
    descriptor_ = windows::ToDescriptor(
        CreateFileW(name.data(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                    FILE_ATTRIBUTE_NORMAL | (writeThrough ? FILE_FLAG_WRITE_THROUGH : 0), nullptr));
    return descriptor_ >= 0;
}

bool FaultFile::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(offset);
        place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
        DWORD written = 0;
        if (!WriteFile(ToHandle(descriptor_), bytes.data(), static_cast<DWORD>(bytes.size()),
                       &written, &place) ||
            written == 0) {
            return false;
        }
        offset += written;
        bytes = bytes.subspan(written);
    }
    return true;
}

std::size_t ReadMemory(std::uint64_t address, std::span<std::byte> into) {
    constexpr std::size_t kPage = 4096;
    std::size_t done = 0;
    while (done < into.size()) {
        const std::uint64_t from = address + done;
        const std::size_t size = std::min(into.size() - done, kPage - from % kPage);
        SIZE_T got = 0;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): whether there is memory is the question
        const auto* const place = reinterpret_cast<const void*>(from);
        if (!ReadProcessMemory(GetCurrentProcess(), place, into.data() + done, size, &got) ||
            got != size) {
            break;
        }
        done += size;
    }
    return done;
}

bool StartProgram(const char* path, const char* argument) {
    std::array<wchar_t, 2048> program;
    std::array<wchar_t, 2048> wideArgument;
    static std::array<wchar_t, 8192> line;
    if (!ToFixed(path, program) || !ToFixed(argument, wideArgument)) return false;
    std::swprintf(line.data(), line.size(), L"\"%ls\" \"%ls\"", program.data(),
                  wideArgument.data());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.data(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started)) {
        return false;
    }
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
    return true;
}

}  // namespace platform

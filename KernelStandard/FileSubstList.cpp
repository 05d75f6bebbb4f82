#include "KernelStandard/FileSubstList.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubPath.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "kernel/StartUp.h"

namespace Vorn {

namespace {

// Makes sure that the list is there before main.
[[maybe_unused]] const FileSubstList& listBeforeMain = FileSubstList::Instance();

enum class May { Read, Write, Modify };

[[nodiscard]] bool Allows(const FileSub& backend, May what) {
    switch (what) {
        case May::Read:
            return backend.IsAvailable();
        case May::Write:
            return !backend.IsReadOnly();
        default:
            return backend.IsAvailable() && !backend.IsReadOnly();
    }
}

// Asks the backends that allow `what`, the most recent mount first, until one says yes.
template <typename Ask>
[[nodiscard]] bool AskInTurn(const SubstEntry& entry, May what, Ask ask) {
    const auto& backends = entry.backends;
    return std::any_of(backends.rbegin(), backends.rend(), [&](const auto& backend) {
        return Allows(*backend, what) && ask(*backend);
    });
}

}  // namespace

FileSubstList& FileSubstList::Instance() {
    static FileSubstList list;
    return list;
}

// The early initialisation comes first so that, in reverse, the list is emptied before the string
// pool goes.
FileSubstList::FileSubstList() { EarlyInitialise(); }

FileSubstList::~FileSubstList() {
    for (auto& [identity, entry] : entries_) {
        while (!entry.backends.empty()) entry.backends.pop_back();
    }
}

void FileSubstList::Subst(const InternedString& name, const char* path, bool writable) {
    const ScopedLock hold(lock_);
    if (path == nullptr) {
        CloseSubst(name);
    } else {
        Mount(name, path, writable);
    }
}

void FileSubstList::Mount(const InternedString& name, const char* path, bool writable) {
    std::unique_ptr<FileSub> backend;
    if (IsSeparator(LastChar(path))) {
        backend = std::make_unique<FileSubPath>(path, writable);
    } else {
        backend = std::make_unique<FileSubArchive>(path, writable);
    }
    SubstEntry& entry = entries_[name.Entry()];
    entry.name = name;
    entry.backends.push_back(std::move(backend));
}

void FileSubstList::CloseSubst(const InternedString& name) {
    if (FindSubst(name) == nullptr) {
        throw FileEx::Formatted("KernelStandard/FileSubstList", 72,
                                "Subst(%s) Closing non-existant subst?", name ? name.Text() : "");
    }
    for (auto& [identity, entry] : entries_) {
        for (const auto& backend : entry.backends) backend->OnSubstClosed(name);
    }
    auto closing = entries_.extract(name.Entry());
    auto& backends = closing.mapped().backends;
    while (!backends.empty()) backends.pop_back();
}

SubstEntry* FileSubstList::FindSubst(const InternedString& name) {
    if (name.Length() == 0) return nullptr;
    const ScopedLock hold(lock_);
    const auto found = entries_.find(name.Entry());
    return found == entries_.end() ? nullptr : &found->second;
}

SubstEntry* FileSubstList::GetSubstOfPath(const char* path, const char*& rest) {
    const std::string_view whole(path);
    const std::size_t colon = whole.find(':');
    if (colon == std::string_view::npos) return nullptr;
    if (colon == 1 && whole.size() > 2 && IsSeparator(whole[2])) return nullptr;
    rest = path + colon + 1;
    if (IsSeparator(*rest)) ++rest;
    return FindSubst(Intern(whole.substr(0, colon)));
}

bool FileSubstList::NamesMount(const char* path) {
    const char* rest = nullptr;
    return GetSubstOfPath(path, rest) != nullptr;
}

bool FileSubstList::OpenWrite(SubstEntry& entry, File& file, const char* name, OpenFlags flags) {
    const ScopedLock hold(lock_);
    return AskInTurn(entry, May::Write,
                     [&](FileSub& backend) { return backend.OpenWrite(file, name, flags); });
}

bool FileSubstList::OpenRead(SubstEntry& entry, File& file, const char* name, OpenFlags flags) {
    const ScopedLock hold(lock_);
    return AskInTurn(entry, May::Read,
                     [&](FileSub& backend) { return backend.OpenRead(file, name, flags); });
}

bool FileSubstList::Exists(SubstEntry& entry, const char* name) {
    const ScopedLock hold(lock_);
    return AskInTurn(entry, May::Read, [&](FileSub& backend) {
        InternedString substName = entry.name;
        return backend.Exists(substName, name);
    });
}

bool FileSubstList::Delete(SubstEntry& entry, const char* name) {
    const ScopedLock hold(lock_);
    bool deleted = false;
    (void)AskInTurn(entry, May::Modify, [&](FileSub& backend) {
        deleted = backend.Delete(name) || deleted;
        return false;
    });
    return deleted;
}

bool FileSubstList::Rename(SubstEntry& entry, const char* oldName, const char* newName) {
    const ScopedLock hold(lock_);
    return AskInTurn(entry, May::Modify,
                     [&](FileSub& backend) { return backend.Rename(oldName, newName); });
}

bool FileSubstList::MakeDirectory(SubstEntry& entry, const char* name) {
    const ScopedLock hold(lock_);
    return AskInTurn(entry, May::Modify,
                     [&](FileSub& backend) { return backend.MakeDirectory(name); });
}

bool FileSubstList::Stat(SubstEntry& entry, std::uint32_t& writeTime, const char* name) {
    const ScopedLock hold(lock_);
    return AskInTurn(entry, May::Read,
                     [&](FileSub& backend) { return backend.Stat(writeTime, name); });
}

bool FileSubstList::GetRealPath(SubstEntry& entry, PathSpan name) {
    const ScopedLock hold(lock_);
    return AskInTurn(entry, May::Read, [&](FileSub& backend) { return backend.GetRealPath(name); });
}

bool FileSubstList::GetWritablePath(SubstEntry& entry, PathSpan name) {
    const ScopedLock hold(lock_);
    return AskInTurn(entry, May::Modify,
                     [&](FileSub& backend) { return backend.GetRealPath(name); });
}

std::vector<FileSub*> FileSubstList::Collect(SubstEntry& entry) {
    const ScopedLock hold(lock_);
    std::vector<FileSub*> list;
    (void)AskInTurn(entry, May::Read, [&](FileSub& backend) {
        backend.CollectInto(list);
        return false;
    });
    return list;
}

int FileSubstList::OpenFileCount(SubstEntry& entry) {
    const ScopedLock hold(lock_);
    int sum = 0;
    for (const auto& backend : entry.backends) sum += backend->OpenCount();
    return sum;
}

void Subst(const InternedString& name, const char* path, bool writable) {
    FileSubstList::Instance().Subst(name, path, writable);
}

}  // namespace Vorn

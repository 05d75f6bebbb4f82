#include "KernelStandard/FileSubstList.h"

#include <string_view>
#include <utility>

#include "KernelStandard/File.h"
#include "KernelStandard/FileSubArchive.h"
#include "KernelStandard/FileSubPath.h"
#include "kernel/Exceptions.h"
#include "kernel/Paths.h"
#include "kernel/StartUp.h"

namespace Vorn {

namespace {

// Constructs the list before main, so that it is destroyed after everything that main's code makes.
[[maybe_unused]] const FileSubstList& listBeforeMain = FileSubstList::Instance();

// Sets a mark for a scope, and clears it also when a backend throws.
class Marked {
public:
    explicit Marked(bool& mark) : mark_(mark) { mark_ = true; }
    ~Marked() { mark_ = false; }
    Marked(const Marked&) = delete;
    Marked& operator=(const Marked&) = delete;

private:
    bool& mark_;
};

}  // namespace

MountPath SplitMountPath(const char* path) {
    const std::string_view whole(path);
    const std::size_t colon = whole.find(':');
    if (colon == std::string_view::npos) return {};
    if (colon == 1 && whole.size() > 2 && IsSeparator(whole[2])) return {};
    const char* rest = path + colon + 1;
    if (IsSeparator(*rest)) ++rest;
    return {.mount = Intern(whole.substr(0, colon)), .rest = rest};
}

FileSubstList& FileSubstList::Instance() {
    static FileSubstList list;
    return list;
}

// Early initialisation comes first, so that the string pool is destroyed after the list, which
// holds interned names.
FileSubstList::FileSubstList() { EarlyInitialise(); }

FileSubstList::~FileSubstList() {
    // The most recent mount first, as Close does it.
    for (auto& [identity, entry] : entries_) {
        while (!entry.backends.empty()) entry.backends.pop_back();
    }
}

void FileSubstList::Subst(const InternedString& name, const char* path, bool writable) {
    if (!path) {
        if (Close(name)) return;
        // The text and the line number are fixed.
        throw FileEx::Formatted("KernelStandard/FileSubstList", 72,
                                "Subst(%s) Closing non-existant subst?", name ? name.Text() : "");
    }
    // Without the lock, because reading the index of a large archive takes time.
    std::shared_ptr<FileSub> backend;
    if (IsSeparator(LastChar(path))) {
        backend = std::make_shared<FileSubPath>(path, writable);
    } else {
        backend = std::make_shared<FileSubArchive>(path, writable);
    }
    const ScopedLock hold(lock_);
    // The pool has one entry for each text: its address is the name's identity.
    Entry& entry = entries_[name.Entry()];
    entry.name = name;
    entry.backends.push_back({.sub = std::move(backend)});
}

bool FileSubstList::Close(const InternedString& name) {
    const ScopedLock hold(lock_);
    if (!Find(name)) return false;
    for (auto& [identity, entry] : entries_) {
        for (const Backend& backend : entry.backends) backend.sub->OnSubstClosed(name);
    }
    // Taken out first: while a backend completes, no path may lead to the mount.
    auto closing = entries_.extract(name.Entry());
    Backends& backends = closing.mapped().backends;
    for (; !backends.empty(); backends.pop_back()) backends.back().sub->EndMount();
    return true;
}

FileSubstList::Backends* FileSubstList::Find(const InternedString& name) {
    if (name.Length() == 0) return nullptr;
    const auto found = entries_.find(name.Entry());
    return found == entries_.end() ? nullptr : &found->second.backends;
}

bool FileSubstList::IsMounted(const InternedString& name) {
    const ScopedLock hold(lock_);
    return Find(name) != nullptr;
}

std::shared_ptr<FileSub> FileSubstList::TopBackend(const InternedString& name) {
    const ScopedLock hold(lock_);
    const Backends* backends = Find(name);
    return backends ? backends->back().sub : nullptr;
}

template <typename Ask>
FileSubstList::Answer FileSubstList::AskInTurn(const InternedString& mount, May what, Ask ask) {
    const ScopedLock hold(lock_);
    Backends* const backends = Find(mount);
    if (!backends) return std::nullopt;
    for (auto backend = backends->rbegin(); backend != backends->rend(); ++backend) {
        const FileSub& sub = *backend->sub;
        // A missing folder is created by the first file that is written into it, so that writing
        // reaches backends whose storage does not exist.
        const bool available = what == May::Write || sub.IsAvailable();
        const bool allowed = available && (what == May::Read || !sub.IsReadOnly());
        if (!allowed || backend->asked) continue;
        const Marked asking(backend->asked);
        if (ask(*backend->sub)) return true;
    }
    return false;
}

FileSubstList::Answer FileSubstList::OpenWrite(const InternedString& mount, OpenFile& file,
                                               const char* name, OpenFlags flags) {
    return AskInTurn(mount, May::Write,
                     [&](FileSub& backend) { return backend.OpenWrite(file, name, flags); });
}

FileSubstList::Answer FileSubstList::OpenRead(const InternedString& mount, OpenFile& file,
                                              const char* name, OpenFlags flags) {
    return AskInTurn(mount, May::Read,
                     [&](FileSub& backend) { return backend.OpenRead(file, name, flags); });
}

FileSubstList::Answer FileSubstList::Exists(const InternedString& mount, const char* name) {
    return AskInTurn(mount, May::Read, [&](FileSub& backend) {
        InternedString substName = mount;  // a backend may change it
        return backend.Exists(substName, name);
    });
}

void FileSubstList::CollectToDelete(const InternedString& mount, const char* name, FileSubs& list) {
    (void)AskInTurn(mount, May::Modify, [&](FileSub& backend) {
        backend.CollectToDelete(name, list);
        return false;
    });
}

FileSubstList::Answer FileSubstList::Delete(const InternedString& mount, const char* name) {
    FileSubs changing;
    CollectToDelete(mount, name, changing);
    // A result is not needed here: an archive that another process still changes refuses below.
    for (const auto& backend : changing) (void)backend->BeginChanges();

    // Returning false asks the next backend too: a file left there would appear under the name.
    bool deleted = false;
    const Answer asked = AskInTurn(mount, May::Modify, [&](FileSub& backend) {
        deleted = backend.Delete(name) || deleted;
        return false;
    });
    return asked ? Answer(deleted) : asked;
}

FileSubstList::Answer FileSubstList::Rename(const InternedString& mount, const char* oldName,
                                            const char* newName) {
    return AskInTurn(mount, May::Modify,
                     [&](FileSub& backend) { return backend.Rename(oldName, newName); });
}

FileSubstList::Answer FileSubstList::MakeDirectory(const InternedString& mount, const char* name) {
    return AskInTurn(mount, May::Modify,
                     [&](FileSub& backend) { return backend.MakeDirectory(name); });
}

FileSubstList::Answer FileSubstList::Stat(const InternedString& mount, std::uint32_t& writeTime,
                                          const char* name) {
    return AskInTurn(mount, May::Read,
                     [&](FileSub& backend) { return backend.Stat(writeTime, name); });
}

FileSubstList::Answer FileSubstList::GetRealPath(const InternedString& mount, PathSpan name) {
    return AskInTurn(mount, May::Read, [&](FileSub& backend) { return backend.GetRealPath(name); });
}

FileSubstList::Answer FileSubstList::DeleteDirectory(const InternedString& mount,
                                                     const char* name) {
    bool deleted = false;
    const Answer asked = AskInTurn(mount, May::Modify, [&](FileSub& backend) {
        if (std::string_view(name).size() >= kMaxPath) return false;
        PathBuffer real{std::string_view(name)};
        if (!backend.GetRealPath(real)) return false;
        // The first backend that has the directory decides, also when deleting fails: the next one
        // must not lose its directory instead.
        deleted = File::DeleteDirectory(real.c_str());
        return true;
    });
    return asked ? Answer(deleted) : asked;
}

std::optional<FileSubs> FileSubstList::Collect(const InternedString& mount) {
    FileSubs list;
    const Answer asked = AskInTurn(mount, May::Read, [&](FileSub& backend) {
        backend.CollectInto(list);
        return false;
    });
    return asked ? std::optional(std::move(list)) : std::nullopt;
}

int FileSubstList::OpenFileCount(const InternedString& mount) {
    const ScopedLock hold(lock_);
    const Backends* const backends = Find(mount);
    int sum = 0;
    if (!backends) return sum;
    for (const Backend& backend : *backends) sum += backend.sub->OpenCount();
    return sum;
}

void Subst(const InternedString& name, const char* path, bool writable) {
    FileSubstList::Instance().Subst(name, path, writable);
}

}  // namespace Vorn

#include "KernelResource/ArchiveDatabases.h"

#include <algorithm>

#include "KernelResource/ResourceCore.h"
#include "KernelStandard/File.h"

namespace Vorn {
namespace {

[[nodiscard]] ArchiveDatabases& Register() { return ResourceCore::Instance().Archives(); }

}  // namespace

NorvaneResourceDatabase* ArchiveDatabases::Open(const InternedString& name, const char* folder) {
    const ScopedLock hold(lock_);
    const auto known = std::ranges::find(entries_, name, &Entry::name);
    if (known != entries_.end()) {
        ++known->references;
        return known->database.get();
    }
    // Databases without users are kept for their next user until the room is needed.
    if (entries_.size() == kCapacity) Purge(0);
    if (entries_.size() == kCapacity) return nullptr;
    const PathBuffer archive = NorvaneResourceDatabase::ArchivePath(folder, name.View());
    const bool exists = File::Exists(archive.c_str()) == RES_OK;
    entries_.push_back(
        {name, std::make_unique<NorvaneResourceDatabase>(name, Intern(folder), exists), 1});
    return entries_.back().database.get();
}

void ArchiveDatabases::Release(const NorvaneResourceDatabase* database) {
    const ScopedLock hold(lock_);
    Entry* const entry = Find(database);
    if (entry && entry->references != 0) --entry->references;
}

void ArchiveDatabases::Retain(const NorvaneResourceDatabase* database) {
    const ScopedLock hold(lock_);
    if (Entry* entry = Find(database)) ++entry->references;
}

void ArchiveDatabases::Purge(std::size_t least) {
    const ScopedLock hold(lock_);
    if (entries_.size() < least) return;
    for (std::size_t i = 0; i < entries_.size();) {
        if (entries_[i].references != 0) {
            ++i;
            continue;
        }
        // Fixed: the last entry takes the freed place, and is looked at next.
        std::swap(entries_[i], entries_.back());
        entries_.pop_back();
    }
}

std::size_t ArchiveDatabases::Count() const {
    const ScopedLock hold(lock_);
    return entries_.size();
}

std::uint32_t ArchiveDatabases::References(const NorvaneResourceDatabase* database) const {
    const ScopedLock hold(lock_);
    const auto entry = std::ranges::find_if(
        entries_, [database](const Entry& e) { return e.database.get() == database; });
    return entry == entries_.end() ? 0 : entry->references;
}

ArchiveDatabases::Entry* ArchiveDatabases::Find(const NorvaneResourceDatabase* database) {
    const auto entry = std::ranges::find_if(
        entries_, [database](const Entry& e) { return e.database.get() == database; });
    return entry == entries_.end() ? nullptr : &*entry;
}

NorvaneResourceDatabase* OpenArchiveDatabase(const InternedString& name, const char* folder) {
    return Register().Open(name, folder);
}

void ReleaseArchiveDatabase(const NorvaneResourceDatabase* database) {
    if (database) Register().Release(database);
}

void RetainArchiveDatabase(const NorvaneResourceDatabase* database) {
    if (database) Register().Retain(database);
}

void PurgeArchiveDatabases(std::size_t least) { Register().Purge(least); }

}  // namespace Vorn

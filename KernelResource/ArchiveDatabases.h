// The asset archives of the process that are open as databases, each shared by all its users.
//
// A database without users stays, with its mount, until a purge: on demand, or when all 256 places
// are taken and another one is to be opened. All end with the resource system.
//
// Threads: any. A lock guards the register and is held while databases are made and ended; the end
// of a database waits for its loads, so a load neither opens nor purges databases.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "KernelResource/NorvaneResourceDatabase.h"
#include "kernel/SyncObject.h"

namespace Vorn {

class ArchiveDatabases {
public:
    static constexpr std::size_t kCapacity = 256;

    // The database of a name, made at its first request from the archive "<folder><name>.va" if
    // that exists; `folder` ends in a separator, or is empty. One more user. Null when 256 others
    // are in use.
    [[nodiscard]] NorvaneResourceDatabase* Open(const InternedString& name, const char* folder);
    // One user less or more; null, and what is not registered, is ignored.
    void Release(const NorvaneResourceDatabase* database);
    void Retain(const NorvaneResourceDatabase* database);
    // Ends the databases without users if there are at least `least` databases. The last one takes
    // the place of one that ended.
    void Purge(std::size_t least);

    [[nodiscard]] std::size_t Count() const;
    // Users of a database; 0 for one that is not registered.
    [[nodiscard]] std::uint32_t References(const NorvaneResourceDatabase* database) const;

private:
    struct Entry {
        InternedString name;
        std::unique_ptr<NorvaneResourceDatabase> database;
        std::uint32_t references = 0;
    };
    [[nodiscard]] Entry* Find(const NorvaneResourceDatabase* database) VORN_REQUIRES(lock_);

    mutable CriticalSection lock_{"ArchiveDatabases"};
    std::vector<Entry> entries_ VORN_GUARDED_BY(lock_);
};

// The same on the process's register; but for a null database they throw Exception when there is
// no resource system.
[[nodiscard]] NorvaneResourceDatabase* OpenArchiveDatabase(const InternedString& name,
                                                           const char* folder);
void ReleaseArchiveDatabase(const NorvaneResourceDatabase* database);
void RetainArchiveDatabase(const NorvaneResourceDatabase* database);
void PurgeArchiveDatabases(std::size_t least);

}  // namespace Vorn

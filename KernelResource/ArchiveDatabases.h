// The asset archives that the process has open as databases, each shared by all its users.
//
// A database without users stays open and mounted until a purge. A purge runs on demand, and when a
// database is to be opened while all 256 places are taken. All databases end with the resource
// system.
//
// Threads: any. One lock guards the register, and is held while databases are made and ended. A
// database that ends waits for its loads, so a load must neither open nor purge databases.
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

    // Returns the database of a name and adds a user. At the first request it is made from the
    // archive "<folder><name>.va" if that exists; `folder` ends in a separator, or is empty. Null
    // if 256 others are in use. Throws FileEx for a name that does not fit a path.
    [[nodiscard]] NorvaneResourceDatabase* Open(const InternedString& name, const char* folder);
    // Decrements and increments the user count. Null and unregistered databases are ignored.
    void Release(const NorvaneResourceDatabase* database);
    void Retain(const NorvaneResourceDatabase* database);
    // Ends the databases without users, if at least `least` databases are open. The last entry
    // moves into a freed place.
    void Purge(std::size_t least);

    [[nodiscard]] std::size_t Count() const;
    // Returns the user count of a database; 0 for one that is not registered.
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

// Work on the register of the process. A null database is ignored; otherwise they throw Exception
// if there is no resource system.
[[nodiscard]] NorvaneResourceDatabase* OpenArchiveDatabase(const InternedString& name,
                                                           const char* folder);
void ReleaseArchiveDatabase(const NorvaneResourceDatabase* database);
void RetainArchiveDatabase(const NorvaneResourceDatabase* database);
void PurgeArchiveDatabases(std::size_t least);

}  // namespace Vorn

// Lists the files under the mount of a resource database.
#pragma once

#include "KernelResource/ResourceDatabase.h"
#include "KernelStandard/FileFind.h"

namespace Vorn {

// The base lists nothing.
class ResourceDatabase::SearchHandle {
public:
    SearchHandle() = default;
    SearchHandle(const SearchHandle&) = delete;
    SearchHandle& operator=(const SearchHandle&) = delete;

    // The virtual operations, in slot order.
    virtual ~SearchHandle() = default;
    // Starts a search for a pattern (KernelStandard/FileFind.h) and moves to its first entry;
    // false when there is none.
    [[nodiscard]] virtual bool OpenSearch(const char* pattern, const ResourceDatabase& database);
    virtual void CloseSearch() {}
    [[nodiscard]] virtual bool NextEntry() { return false; }
    // Null when there is none.
    [[nodiscard]] virtual const FindEntry* CurrentEntry() const { return nullptr; }
};

// Searches what is mounted under the database's name, or the file system for a database without a
// name. OpenSearch throws FileEx when nothing is mounted. It is used by one thread, and ends before
// the mount.
class ResourceDatabase::RDBSearchHandle final : public SearchHandle {
public:
    [[nodiscard]] bool OpenSearch(const char* pattern, const ResourceDatabase& database) override;
    void CloseSearch() override;
    [[nodiscard]] bool NextEntry() override;
    [[nodiscard]] const FindEntry* CurrentEntry() const override;

private:
    File::Find find_;
    bool isOnEntry_ = false;
};

}  // namespace Vorn

// Lists the files under the mount of a resource database.
#pragma once

#include "KernelResource/ResourceDatabase.h"
#include "KernelStandard/FileFind.h"

namespace Vorn {

// The base class finds nothing.
class ResourceDatabase::SearchHandle {
public:
    SearchHandle() = default;
    SearchHandle(const SearchHandle&) = delete;
    SearchHandle& operator=(const SearchHandle&) = delete;

    // The virtual operations, in slot order, which is fixed.
    virtual ~SearchHandle() = default;
    // Starts a search for a pattern (KernelStandard/FileFind.h) and moves to its first entry. False
    // if there is none.
    [[nodiscard]] virtual bool OpenSearch(const char* pattern, const ResourceDatabase& database);
    virtual void CloseSearch() {}
    [[nodiscard]] virtual bool NextEntry() { return false; }
    // Returns null before the first entry and after the last one.
    [[nodiscard]] virtual const FindEntry* CurrentEntry() const { return nullptr; }
};

// Searches the mount of the database's name, or the file system for a database without a name.
// OpenSearch throws FileEx if nothing is mounted. Belongs to one thread and must end before the
// mount.
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

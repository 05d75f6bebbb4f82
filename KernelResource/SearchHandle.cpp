#include "KernelResource/SearchHandle.h"

namespace Vorn {

bool ResourceDatabase::SearchHandle::OpenSearch(const char* /*pattern*/,
                                                const ResourceDatabase& /*database*/) {
    return false;
}

bool ResourceDatabase::RDBSearchHandle::OpenSearch(const char* pattern,
                                                   const ResourceDatabase& database) {
    const InternedString& mount = database.Name();
    isOnEntry_ = false;  // stays so if Open throws
    isOnEntry_ = mount.Length() == 0 ? find_.Open(pattern) : find_.Open(pattern, mount);
    return isOnEntry_;
}

void ResourceDatabase::RDBSearchHandle::CloseSearch() {
    find_.Close();
    isOnEntry_ = false;
}

bool ResourceDatabase::RDBSearchHandle::NextEntry() {
    isOnEntry_ = isOnEntry_ && find_.Next();
    return isOnEntry_;
}

const FindEntry* ResourceDatabase::RDBSearchHandle::CurrentEntry() const {
    return isOnEntry_ ? &find_.Entry() : nullptr;
}

}  // namespace Vorn

// The inputs that a command names: files on disk and members of archives.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace va::tool {

using Bytes = std::vector<std::byte>;

// The content of a file on disk, or of a member of an archive: "archive.va:member/path". A name
// that exists on disk is a file, whatever it looks like. An archive is opened read-only; members
// are found in any letter case and read as their content. A file is taken as its bytes are, like
// programs that load it. Less than 4 GiB. Throws Failure: NotFound when there is no such file,
// archive or member, else Refused.
[[nodiscard]] Bytes ReadInput(const std::string& name);

// Where the member's part of a name in that form begins, or npos.
[[nodiscard]] std::size_t MemberStart(const std::string& name);

}  // namespace va::tool

// A member's stored data, made apart from the file it goes to: so several threads pack members at
// once, and one appends them.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "archive/Appender.h"

namespace archive {

struct PackedMember {
    Member entry;  // sizes, check sum and attributes; neither name nor place
    std::vector<std::byte> data;
};

// Calls `take` with the pieces of the compressed stream of a content, in order, until it returns
// false.
void EncodeStream(std::span<const std::byte> content,
                  const std::function<bool(std::span<const std::byte>)>& take);

// Stores content as Appender::Add would. `packed` is overwritten and keeps its memory.
void Pack(std::span<const std::byte> content, bool compress, PackedMember& packed);

// Returns whether a reader of the packed member gets exactly this content.
[[nodiscard]] bool GivesBack(const PackedMember& packed, std::span<const std::byte> content);

// Appends a packed member: the same bytes as Appender::Add of its content. Throws Error as that
// does.
void AddPacked(Appender& appender, std::string_view name, const PackedMember& packed);

}  // namespace archive

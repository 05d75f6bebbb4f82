// What goes into an archive: the operands of a command that makes or changes one.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

#include "tools/va/Run.h"
#include "vaconverter/writer.h"

namespace va::tool {

inline constexpr std::array<std::string_view, 3> kCompressChoices = {"auto", "all", "none"};
inline constexpr Option kCompress{
    .name = "compress",
    .value = "WHICH",
    .meaning = "compress the members where it saves 2 % (auto, the default), all of them, or none",
    .choices = kCompressChoices,
    .completes = Completes::Choices};

[[nodiscard]] Compression CompressionOf(const Run& run);

// The folders that are read, and the members for an archive. A folder's content is taken, names
// relative to it; a file gets its own name. What --exclude matches is left out.
class Inputs {
public:
    // Opens the operands from `first` on; members get names below the folder `under`. Warns about
    // links and devices. Throws va::Error.
    Inputs(Run& run, std::size_t first, std::string_view under = {});
    // Takes one file, or standard input for "-", under a name.
    Inputs(const std::string& path, const std::string& name);

    [[nodiscard]] ArchiveWriter& Writer() { return writer_; }

private:
    std::deque<Archive> folders_;  // the writer reads from them
    ArchiveWriter writer_;
};

}  // namespace va::tool

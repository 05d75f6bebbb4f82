// Judges an archive that was just written, before it gets its name.
#pragma once

#include <filesystem>
#include <string>

#include "archive/Reader.h"
#include "vaconverter/progress.h"

namespace va {

// Reads every byte back. Throws Error (Refused) for damage, which comes from an input or from the
// machine.
void JudgeResult(const archive::Reader& reader, const std::filesystem::path& result,
                 unsigned threads, const ProgressFunction& progress);

// The same for a result that need not be written to know that.
[[noreturn]] void RefuseDamage(const std::filesystem::path& result, const std::string& member,
                               const std::string& reason);

}  // namespace va

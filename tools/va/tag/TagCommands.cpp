#include "tools/va/tag/TagCommands.h"

#include <array>

#include "tools/va/tag/TagConvert.h"
#include "tools/va/tag/TagDiff.h"
#include "tools/va/tag/TagEdit.h"
#include "tools/va/tag/TagFormat.h"
#include "tools/va/tag/TagLook.h"

namespace va::tool {

std::span<const Command> TagCommands() {
    static const std::array kCommands = {
        TagToTextCommand(), TagToBinaryCommand(), TagPrintCommand(),
        TagCheckCommand(),  TagGetCommand(),      TagSetCommand(),
        TagRemoveCommand(), TagDiffCommand(),     TagFormatCommand()};
    return kCommands;
}

}  // namespace va::tool

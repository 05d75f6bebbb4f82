#include "tools/va/Table.h"

#include <algorithm>
#include <array>

#include "tools/va/HelpCommands.h"
#include "tools/va/Options.h"
#include "tools/va/change/ChangeCommands.h"
#include "tools/va/patch/PatchCommands.h"
#include "tools/va/read/ReadCommands.h"
#include "tools/va/tag/TagCommands.h"

namespace va::tool {
namespace {

constexpr std::array kCommon = {&kHelp, &kProgress, &kQuiet, &kVerbose, &kVersion};

// Removes the next word from `words` and returns it.
std::string_view TakeWord(std::string_view& words) {
    const std::string_view word = words.substr(0, words.find(' '));
    words.remove_prefix(std::min(word.size() + 1, words.size()));
    return word;
}

// Returns how many of `typed` name the command with these words; 0 if they do not name it.
std::size_t MatchingWords(std::span<const std::string> typed, std::string_view words) {
    std::size_t used = 0;
    while (!words.empty()) {
        if (used == typed.size() || TakeWord(words) != typed[used]) return 0;
        ++used;
    }
    return used;
}

}  // namespace

std::span<const Group> Groups() {
    static const std::array kReading = {ListCommand(), InfoCommand(),    TestCommand(),
                                        CatCommand(),  ExtractCommand(), CompareCommand(),
                                        SumsCommand(), OverlayCommand(), BlocksCommand()};
    static const std::array kChanging = {CreateCommand(), AddCommand(),    DeleteCommand(),
                                         RenameCommand(), RepackCommand(), RepairCommand()};
    static const std::array kPatches = {DiffCommand(), ApplyCommand(), ExpandCommand(),
                                        VerifyCommand(), ReportCommand()};
    static const std::array kGroups = {
        Group{"look into archives and folders", kReading},
        Group{"make and change archives", kChanging},
        Group{"patches", kPatches},
        Group{"asset descriptions", TagCommands()},
        Group{"about va", HelpCommands()},
    };
    return kGroups;
}

std::span<const Option* const> CommonOptions() { return kCommon; }

const Command* FindCommand(std::span<const std::string> words, std::size_t& used) {
    for (const Command* command : AllCommands()) {
        used = MatchingWords(words, command->words);
        if (used > 0) return command;
    }
    return nullptr;
}

std::vector<const Command*> AllCommands() {
    std::vector<const Command*> commands;
    for (const Group& group : Groups()) {
        for (const Command& command : group.commands) commands.push_back(&command);
    }
    return commands;
}

}  // namespace va::tool

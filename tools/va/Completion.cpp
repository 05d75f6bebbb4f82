#include "tools/va/Completion.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string_view>
#include <system_error>

#include "tools/va/ShownText.h"
#include "tools/va/Table.h"
#include "vaconverter/archive.h"

namespace va::tool {
namespace {

namespace fs = std::filesystem;

// Candidates go to the shell one a line, so a name with control characters cannot be one.
bool IsTypable(const std::string& name) { return Shown(name) == name; }

class Completer {
public:
    explicit Completer(std::span<const std::string> words) {
        for (const std::string& word : words.first(words.size() - 1)) ReadWord(word);
        Complete(words.back());
    }

    [[nodiscard]] std::vector<Candidate> Found() const {
        std::vector<Candidate> found;
        for (const auto& [word, meaning] : found_) found.push_back({word, meaning});
        return found;
    }

private:
    [[nodiscard]] std::vector<const Option*> Options() const {
        const std::span common = CommonOptions();
        std::vector<const Option*> options(common.begin(), common.end());
        if (command_) {
            options.insert(options.end(), command_->options.begin(), command_->options.end());
        }
        return options;
    }

    // Reads a whole word. Finds the command, its operands, and an option whose value comes next.
    void ReadWord(const std::string& word) {
        if (awaited_) {
            awaited_ = nullptr;
        } else if (!optionsEnded_ && word == "--") {
            optionsEnded_ = true;
        } else if (!optionsEnded_ && word.size() > 1 && word.front() == '-') {
            for (const Option* option : Options()) {
                // Of joined letters, only the last one can take the next word.
                const bool isNamed = word.starts_with("--")
                                         ? word.substr(2) == option->name
                                         : option->letter != 0 && word.back() == option->letter;
                if (isNamed && !option->value.empty()) awaited_ = option;
            }
        } else if (command_) {
            operands_.push_back(word);
        } else {
            commandWords_.push_back(word);
            std::size_t used = 0;
            command_ = FindCommand(commandWords_, used);
        }
    }

    void Complete(const std::string& word) {
        const std::size_t equals = word.find('=');
        if (awaited_) {
            CompleteValue(*awaited_, "", word);
        } else if (!optionsEnded_ && word.starts_with("--") && equals != word.npos) {
            for (const Option* option : Options()) {
                if (word.substr(2, equals - 2) != option->name) continue;
                CompleteValue(*option, word.substr(0, equals + 1), word.substr(equals + 1));
            }
        } else if (!optionsEnded_ && word.starts_with('-')) {
            for (const Option* option : Options()) {
                const std::string name = "--" + std::string(option->name);
                Offer("", word, option->value.empty() ? name : name + "=", option->meaning);
            }
        } else if (!command_) {
            CompleteCommand(commandWords_, word);
        } else if (!command_->operands.empty()) {
            const std::size_t last = command_->operands.size() - 1;
            if (operands_.size() > last && !command_->operands[last].repeats) return;
            CompleteKind(command_->operands[std::min(operands_.size(), last)].completes, "", word);
        }
    }

    void CompleteValue(const Option& option, const std::string& before, const std::string& typed) {
        for (const std::string_view choice : option.choices) Offer(before, typed, choice);
        CompleteKind(option.completes, before, typed);
    }

    void CompleteKind(Completes kind, const std::string& before, const std::string& typed) {
        switch (kind) {
            case Completes::Nothing:
            case Completes::Choices:
                break;
            case Completes::Commands:
                CompleteCommand(operands_, typed);
                break;
            case Completes::Members:
                CompleteMembers(before, typed);
                break;
            case Completes::Files:
            case Completes::Folders:
            case Completes::Archives:
            case Completes::Patches:
                CompleteFiles(kind, before, typed);
                break;
        }
    }

    // Offers the next word of every command that begins with `words`.
    void CompleteCommand(const std::vector<std::string>& words, const std::string& typed) {
        std::string start;
        for (const std::string& word : words) start += word + " ";
        for (const Command* command : AllCommands()) {
            if (!command->words.starts_with(start)) continue;
            const std::string_view rest = command->words.substr(start.size());
            const bool isWhole = rest.find(' ') == rest.npos;
            Offer("", typed, rest.substr(0, rest.find(' ')), isWhole ? command->summary : "");
        }
    }

    // The members are those of the first operand, if that is an archive, and are named
    // ARCHIVE:MEMBER otherwise.
    void CompleteMembers(const std::string& before, const std::string& typed) {
        const bool isOfArchive = command_->operands.front().completes == Completes::Archives;
        if (isOfArchive) {
            if (!operands_.empty()) OfferMembers(operands_.front(), before, typed);
            return;
        }
        for (std::size_t colon = typed.find(':'); colon != typed.npos;
             colon = typed.find(':', colon + 1)) {
            std::error_code error;
            const std::string archive = typed.substr(0, colon);
            if (!fs::exists(archive, error)) continue;
            return OfferMembers(archive, before + archive + ":", typed.substr(colon + 1));
        }
        CompleteFiles(Completes::Members, before, typed);
    }

    // Offers one level of names at a time, as shells do for files.
    void OfferMembers(const std::string& path, const std::string& before,
                      const std::string& typed) {
        try {
            const Archive archive(path);
            for (const Member& member : archive.Members()) {
                const std::string& name = member.Name();
                if (!name.starts_with(typed)) continue;
                const std::size_t slash = name.find('/', typed.size());
                Offer(before, typed, slash == name.npos ? name : name.substr(0, slash + 1));
            }
        } catch (const Error&) {
            // A message would disturb the line that is being typed.
        }
    }

    void CompleteFiles(Completes kind, const std::string& before, const std::string& typed) {
        const std::size_t slash = typed.rfind('/');
        const std::string folder = slash == typed.npos ? "" : typed.substr(0, slash + 1);
        std::error_code error;
        for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end;
             !error && entry != end; entry.increment(error)) {
            const std::string name = entry->path().filename().string();
            // Shells offer hidden files only after the dot was typed.
            if (name.starts_with('.') && typed == folder) continue;
            std::error_code unknown;
            const bool isFolder = entry->is_directory(unknown);
            if (!isFolder && !IsOfKind(name, kind)) continue;
            const bool holdsMembers =
                kind == Completes::Members && !isFolder && name.ends_with(".va");
            const std::string_view mark = isFolder ? "/" : holdsMembers ? ":" : "";
            Offer(before, typed, folder + name + std::string(mark));
        }
    }

    static bool IsOfKind(std::string_view name, Completes kind) {
        if (kind == Completes::Folders) return false;
        if (kind == Completes::Archives) return name.ends_with(".va");
        if (kind == Completes::Patches) return name.ends_with(".va") || name.ends_with(".vap");
        return true;
    }

    void Offer(const std::string& before, std::string_view typed, std::string_view word,
               std::string_view meaning = {}) {
        const std::string whole = before + std::string(word);
        if (word.starts_with(typed) && IsTypable(whole)) found_.emplace(whole, meaning);
    }

    const Command* command_ = nullptr;
    const Option* awaited_ = nullptr;  // its value is the next word
    bool optionsEnded_ = false;
    std::vector<std::string> commandWords_;
    std::vector<std::string> operands_;
    std::map<std::string, std::string> found_;
};

}  // namespace

std::vector<Candidate> Completions(std::span<const std::string> words) {
    return words.empty() ? std::vector<Candidate>{} : Completer(words).Found();
}

}  // namespace va::tool

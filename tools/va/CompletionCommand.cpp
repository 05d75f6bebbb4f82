#include "tools/va/CompletionCommand.h"

#include <array>
#include <string_view>

#include "tools/va/Completion.h"
#include "tools/va/Run.h"

namespace va::tool {
namespace {

// bash splits words at '=' and ':', and replaces only what follows: the function joins such words,
// and takes what bash keeps off the candidates. Quotes are only removed: no typed text is run.
constexpr std::string_view kBash = R"(_va() {
    local rest=${COMP_LINE#*"$1"} kept='' index word candidate
    local -a words=()
    for ((index = 1; index <= COMP_CWORD; index++)); do
        word=${COMP_WORDS[index]}
        if [[ ${#words[@]} -gt 0 && $rest != [[:space:]]* && -n $rest ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
        rest=${rest#*"$word"}
    done
    word=${words[-1]}
    [[ $word == "${COMP_WORDS[COMP_CWORD]}" ]] || kept=${word%"${word##*[=:]}"}
    words=("${words[@]//[\\\"\']/}")
    COMPREPLY=()
    while IFS=$'\t' read -r candidate _; do
        [[ $candidate == *[/=:] ]] && compopt -o nospace
        COMPREPLY+=("${candidate#"$kept"}")
    done < <(va completion words -- "${words[@]}" 2>/dev/null)
    [[ ${words[-1]} == -* ]] || compopt -o filenames
}
complete -o default -F _va va
)";

constexpr std::string_view kZsh = R"(#compdef va
_va() {
    local line candidate
    local -a whole wholeShown partial partialShown
    for line in "${(@f)$(va completion words -- "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" 2>/dev/null)}"; do
        candidate=${line%%$'\t'*}
        [[ -n $candidate ]] || continue
        if [[ $candidate == *[/=:] ]]; then
            partial+=("$candidate")
            partialShown+=("${line/$'\t'/  -- }")
        else
            whole+=("$candidate")
            wholeShown+=("${line/$'\t'/  -- }")
        fi
    done
    if (( ${#whole} + ${#partial} == 0 )); then
        _files
        return
    fi
    compadd -l -d wholeShown -a -- whole
    compadd -l -d partialShown -S '' -a -- partial
}
if [[ ${funcstack[1]} == _va ]]; then
    _va "$@"
else
    compdef _va va
fi
)";

constexpr std::string_view kFish = R"(function __va_candidates
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l candidates (va completion words -- $words[2..-1] $current 2>/dev/null)
    if test (count $candidates) -gt 0
        printf '%s\n' $candidates
    else
        __fish_complete_path $current
    end
end
complete -c va -f -a '(__va_candidates)'
)";

constexpr Operand kOperands[] = {
    {.name = "SHELL", .meaning = "bash, zsh or fish", .completes = Completes::Nothing},
    {.name = "WORD",
     .meaning = "after 'words --': the words of a command line of va, without 'va'",
     .optional = true,
     .repeats = true,
     .completes = Completes::Nothing}};
constexpr std::array<std::string_view, 3> kExamples = {"va completion zsh > _va",
                                                       "source <(va completion bash)",
                                                       "va completion words -- list Town.va tex"};

ExitCode Complete(Run& run) {
    const std::string& shell = run.Operand(0);
    const std::span words = std::span(run.Operands()).subspan(1);
    if (shell == "words") {
        for (const auto& [word, meaning] : Completions(words)) {
            run.answer.Write(meaning.empty() ? word + "\n" : word + "\t" + meaning + "\n");
        }
        return ExitCode::Done;
    }
    if (!words.empty()) throw Failure{ExitCode::Usage, "a script for a shell takes no words"};
    if (shell == "bash") {
        run.answer.Write(kBash);
    } else if (shell == "zsh") {
        run.answer.Write(kZsh);
    } else if (shell == "fish") {
        run.answer.Write(kFish);
    } else {
        throw Failure{ExitCode::Usage,
                      "completion is for one of bash, zsh, fish, not '" + shell + "'"};
    }
    return ExitCode::Done;
}

}  // namespace

Command CompletionCommand() {
    return {.words = "completion",
            .summary = "make a shell complete what is typed",
            .operands = kOperands,
            .options = {},
            .details =
                "Writes a script for the shell, which completes commands, options and their "
                "values, files, and members of archives. To use it at once: in bash and zsh "
                "'source <(va completion SHELL)', in fish 'va completion fish | source'.\n"
                "\n"
                "'va completion words -- WORD...' is what the scripts run: it lists what the last "
                "WORD can become, one a line, with a tab before the meaning.\n",
            .examples = kExamples,
            .run = Complete};
}

}  // namespace va::tool

#include "tools/va/ManPage.h"

#include <algorithm>
#include <string_view>

#include "tools/va/Help.h"

namespace va::tool {
namespace {

// Returns `text` with the characters replaced that roff would take for its own.
std::string Escaped(std::string_view text) {
    std::string out;
    for (const char c : text) {
        const bool isAtStart = out.empty() || out.back() == '\n';
        if (isAtStart && (c == '.' || c == '\'')) out += "\\&";
        if (c == '\\') {
            out += "\\e";
        } else if (c == '-') {
            out += "\\-";  // the sign that options are typed with, not a hyphen
        } else if (c == '\'') {
            out += "\\(aq";
        } else {
            out += c;
        }
    }
    return out;
}

std::string PageName(std::string_view words) {
    std::string name = words.empty() ? "va" : "va-" + std::string(words);
    std::ranges::replace(name, ' ', '-');
    return name;
}

// A page carries no date, so that the same sources give the same bytes.
std::string Head(std::string_view words, std::string_view summary, const std::string& usage) {
    const std::string name = PageName(words);
    std::string title = name;
    std::ranges::transform(title, title.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return ".TH " + Escaped(title) + " 1 \"\" \"va " VA_VERSION "\" \"VAConverter\"\n.SH NAME\n" +
           Escaped(name) + " \\- " + Escaped(summary) + "\n.SH SYNOPSIS\n.B " + Escaped(usage) +
           "\n";
}

// Returns running text in lines, for those who read the source of a page.
std::string Lines(std::string_view text) {
    constexpr std::size_t kWidth = 60;  // escapes lengthen lines
    return Escaped(Wrapped(text, 0, kWidth));
}

std::string Row(const std::string& left, std::string_view meaning) {
    return ".TP\n.B " + Escaped(left) + "\n" + Lines(meaning);
}

// Lines that begin with a blank are examples: they stay as they are.
std::string Paragraphs(std::string_view text) {
    std::string out;
    bool inExample = false;
    bool isNew = false;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const bool isExample = line.starts_with(' ');
        if (isExample != inExample && (isExample || !line.empty())) {
            out += isExample ? ".PP\n.nf\n" : ".fi\n.PP\n";
            inExample = isExample;
            isNew = false;
        }
        if (line.empty()) {
            isNew = !out.empty();
            continue;
        }
        if (isNew && !inExample) out += ".PP\n";
        isNew = false;
        out += isExample ? Escaped(line) + "\n" : Lines(line);
    }
    return inExample ? out + ".fi\n" : out;
}

constexpr std::string_view kExitCodes =
    "0 done, equal, whole; 1 done with something to look at, or they differ; 2 damaged, refused or "
    "not done; 7 wrong usage; 8 not enough memory; 9 no such file, archive, member or tag; 50 the "
    "disk is full";

}  // namespace

std::string ManPage() {
    std::string page =
        Head("", "looks into asset archives, changes them, makes and applies patches",
             "va COMMAND [OPTION...] [OPERAND...]");
    page += ".SH COMMANDS\nEach command has a page of its own, such as\n.BR va\\-list (1).\n";
    for (const Group& group : Groups()) {
        page += ".SS " + Escaped(group.heading) + "\n";
        for (const Command& command : group.commands) {
            page += Row(std::string(command.words), command.summary);
        }
    }
    page += ".SH OPTIONS\nEvery command takes these.\n";
    for (const Option* option : CommonOptions()) page += Row(OptionForms(*option), option->meaning);
    return page + ".SH EXIT STATUS\n" + Lines(kExitCodes);
}

std::string ManPage(const Command& command) {
    std::string page = Head(command.words, command.summary, UsageLine(command));
    page += ".SH DESCRIPTION\n" + Paragraphs(command.details);
    for (const Operand& operand : command.operands) {
        page += Row(std::string(operand.name), operand.meaning);
    }
    page += ".SH OPTIONS\n";
    for (const Option* option : command.options) page += Row(OptionForms(*option), option->meaning);
    for (const Option* option : CommonOptions()) page += Row(OptionForms(*option), option->meaning);
    if (!command.examples.empty()) page += ".SH EXAMPLES\n.nf\n";
    for (const std::string_view example : command.examples) page += Escaped(example) + "\n";
    if (!command.examples.empty()) page += ".fi\n";
    return page + ".SH SEE ALSO\n.BR va (1)\n";
}

}  // namespace va::tool

// Option texts and option files: arbitrary bytes are read, options that were read can be found, and
// options that the bytes do not name do not change.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "archive/Stream.h"
#include "services/OptionList.h"
#include "services/OptionSources.h"

namespace fs = std::filesystem;
using namespace Vorn;

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

void LookUp(OptionList& list, const Option& option) {
    const std::string_view name = option.name.View();
    Option* found = FindOption(list, name);
    Require(found == &option && !name.empty());
    bool flag = false;
    int number = 0;
    String text;
    Require(GetOptionBool(list, name, flag, true));
    Require(GetOptionInt(list, name, number, 1));
    Require(GetOptionString(list, name, text, ""));

    BeginOptionValues(*found, ",");
    std::size_t length = 0;
    while (NextOptionValue(list, name, text)) {
        Require(text.Length() > 0 && text.Find(',', 0) < 0);
        length += text.Length();
    }
    Require(length <= option.value.Length());
}

void RequireEqual(const OptionList& a, const OptionList& b) {
    Require(std::ranges::equal(a, b, [](const Option& x, const Option& y) {
        return x.name.View() == y.name.View() && x.value.View() == y.value.View();
    }));
}

// A file that holds the current input.
class InputFile {
public:
    InputFile()
        : path_(fs::temp_directory_path() /
                ("options-fuzz-" + std::to_string(std::random_device{}()))) {}
    ~InputFile() {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    std::string Write(std::string_view text) const {
        std::ofstream(path_, std::ios::binary | std::ios::trunc) << text;
        return path_.string();
    }

private:
    fs::path path_;
};

std::string Utf16(std::string_view ascii) {
    std::string units = "\xFF\xFE";
    for (const char c : ascii) (units += c) += '\0';
    return units;
}

bool IsAscii(std::string_view text) {
    return std::ranges::none_of(text, [](char c) { return (c & 0x80) != 0; });
}

void ReadAsFiles(std::string_view text, const OptionList& expected) {
    static const InputFile file;
    OptionList list;
    // Compressed streams and UTF-16 are decoded only in files. Files are slow, so of the other
    // inputs only one in sixteen goes through a file.
    const bool stream = text.size() >= archive::kStreamHeaderSize &&
                        archive::IsStreamMark(std::as_bytes(std::span(text)));
    const bool plain = !stream && !text.starts_with("\xFF\xFE");
    if (plain && text.size() % 16 != 0) return;
    const bool read = ParseOptionFile(list, file.Write(text).c_str());
    for (const Option& option : list) LookUp(list, option);
    if (!plain) return;
    Require(read);
    RequireEqual(list, expected);

    if (!IsAscii(text)) return;
    OptionList wide;
    Require(ParseOptionFile(wide, file.Write(Utf16(text)).c_str()));
    RequireEqual(wide, expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    OptionList list;
    ParseOptions(list, text);
    for (const Option& option : list) LookUp(list, option);

    // In a list with other options, each option has the value that it has alone, and the others do
    // not change.
    OptionList mixed;
    ParseOptions(mixed, "-Before=1,2");
    ParseOptions(mixed, text);
    const bool named = FindOption(list, "before") != nullptr;
    Require(mixed.Count() == list.Count() + (named ? 0 : 1));
    String kept;
    Require(named || (GetOptionString(mixed, "before", kept, "") && kept.View() == "1,2"));

    ReadAsFiles(text, list);

    // Reading the same text again adds no record.
    const std::size_t count = list.Count();
    ParseOptions(list, text);
    Require(list.Count() == count);
    return 0;
}

// Option texts: any bytes are read, and what was read can be looked up.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "kernel/services/OptionList.h"

namespace {

void Require(bool holds) {
    if (!holds) std::abort();
}

void LookUp(Vorn::OptionList& list, const Vorn::Option& option) {
    const std::string_view name = option.name.View();
    Vorn::Option* found = Vorn::FindOption(list, name);
    Require(found == &option && !name.empty());
    bool flag = false;
    int number = 0;
    Vorn::String text;
    Require(Vorn::GetOptionBool(list, name, flag, true));
    Require(Vorn::GetOptionInt(list, name, number, 1));
    Require(Vorn::GetOptionString(list, name, text, ""));

    Vorn::BeginOptionValues(*found, ",");
    std::size_t length = 0;
    while (Vorn::NextOptionValue(list, name, text)) length += text.Length();
    Require(length <= option.value.Length());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    Vorn::OptionList list;
    Vorn::ParseOptions(list, text);
    for (const Vorn::Option& option : list) LookUp(list, option);

    // The same text again finds every record.
    const std::size_t count = list.Count();
    Vorn::ParseOptions(list, text);
    Require(list.Count() == count);
    return 0;
}

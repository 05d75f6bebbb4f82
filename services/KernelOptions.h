// The options of one program: their list, and the values its creator keeps with it.
#pragma once

#include "kernel/String.h"
#include "services/OptionList.h"

namespace Vorn {

class KernelOptions {
public:
    // Starts with an empty list. `defaultText` is borrowed and not parsed. `first` and `second` are
    // the creator's own numbers.
    KernelOptions(const char* name, const char* defaultText, int first, int second);
    // Makes the task manager forget these options.
    ~KernelOptions();
    KernelOptions(const KernelOptions&) = delete;
    KernelOptions& operator=(const KernelOptions&) = delete;

    [[nodiscard]] OptionList& GetOptionList() { return list_; }

    [[nodiscard]] const String& Name() const { return name_; }
    [[nodiscard]] const char* DefaultText() const { return defaultText_; }
    [[nodiscard]] int First() const { return first_; }
    [[nodiscard]] int Second() const { return second_; }

private:
    const char* defaultText_;
    OptionList list_;
    int first_;
    int second_;
    String name_;
};

}  // namespace Vorn

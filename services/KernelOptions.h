// The options of one program: its list, and what its creator says about it.
#pragma once

#include "kernel/String.h"
#include "services/OptionList.h"

namespace Vorn {

class KernelOptions {
public:
    // The list begins empty: `defaultText` is kept, not parsed, and must outlive the object.
    // `first` and `second` are numbers of the creator's own, kept for it.
    KernelOptions(const char* name, const char* defaultText, int first, int second);
    // The task manager forgets it.
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

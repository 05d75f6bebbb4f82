// The sources of the options that declare plug-ins.
#pragma once

#include <string>
#include <vector>

#include "services/OptionList.h"

namespace Vorn {

// Folders; empty if the system cannot name them.
struct PluginPlaces {
    std::string kernel;   // of the kernel's library, or of the program that contains it
    std::string program;  // of the running program
    std::string current;  // the current directory
};
[[nodiscard]] PluginPlaces FindPluginPlaces();

// Adds the declarations to `list`, in this order:
// - the file plugins.ini of each place; the same file is read once;
// - the options built into the program;
// - if the kernel's options are known, the texts that libraries export (PluginList): with the
// option
//   "AutoPlugin" those of the kernel's folder, then those of each item of "PluginDir", which may
//   name a mounted directory. Within a folder, libraries come in byte order of their names.
// Whatever is missing, or cannot be read or loaded, is silently skipped.
//
// Returns the folders in which to search for libraries named without a folder: those of the program
// and of the kernel, and those where a library with such a text was found.
std::vector<std::string> LoadPluginOptions(OptionList& list, const PluginPlaces& places,
                                           OptionList* kernelOptions);

}  // namespace Vorn

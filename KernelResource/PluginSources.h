// Where the options that declare plug-ins come from.
#pragma once

#include <string>
#include <vector>

#include "services/OptionList.h"

namespace Vorn {

// Empty where the system cannot tell.
struct PluginPlaces {
    std::string kernel;   // the folder of the kernel's library, or of the program that holds it
    std::string program;  // the folder of the running program
    std::string current;  // the current directory
};
[[nodiscard]] PluginPlaces FindPluginPlaces();

// Adds to `list` what is there of, in this order: the file plugins.ini in each of the places, one
// and the same file once; what the program has built in; and, when the kernel's options are known,
// the texts that the libraries of these folders export (PluginList), in byte order of their names:
// the kernel's folder if there is an option "AutoPlugin", then the items of "PluginDir", which may
// name mounted directories. What is missing, cannot be read or loaded is skipped without a word.
//
// Gives the folders in which libraries without a folder of their own are to be looked for: those of
// the program and the kernel, and where a library with such a text was found.
std::vector<std::string> LoadPluginOptions(OptionList& list, const PluginPlaces& places,
                                           OptionList* kernelOptions);

}  // namespace Vorn

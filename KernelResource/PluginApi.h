// What a plug-in library exports. The one header that the author of a plug-in includes; it needs
// nothing of the kernel at link time.
//
// A library Foo is the file "Foo_7s.dll". The file is what the system takes for a loadable
// library, whatever its name looks like. Host and library are built by the same compiler, for they
// share C++ objects.
//
// Declaring. Options declare what there is, each as items between commas, the parts of an item
// between ':' (an id is 8-4-4-4-12 hexadecimal digits):
//
//     +PluginGroup=name:group id:interface id
//     +Plugin=name:library:plug-in id:group id
//     +PluginRemap=requested id:id that serves it
//
// - The group id names a kind of object, the interface id the class through which a host uses
//   objects of that kind. A change of that class gets a new interface id, so that a factory can
//   refuse a host that knows another one.
// - The plug-in id names one implementation. It may be declared in several groups.
// - A request that asks for the first id of a remap, as a group or as a plug-in, is served by the
//   second one. Remaps are not chained, so two ids may also change places.
// - What is declared again, with the same ids, replaces what was declared before.
// - Write '+' in front: a '-' drops what everyone else has declared.
//
// The options are read from the files plugins.ini beside the kernel and the program and in the
// current directory, and then from the libraries themselves where the host scans a directory.
//
// Finding. The library of an item is a path, or a bare name that is looked for beside the program,
// beside the kernel, in the directories in which a scan has found libraries, and at last where the
// system looks. "*" is the program itself, which then has to export the entry point.
//
// Serving. At the first request for one of its plug-ins the library is loaded for good and asked
// for its factories. Every request calls the factory of its plug-in, on the thread that asks and
// under no lock of the plug-in system. Libraries are freed when the process exits: hosts release
// their objects before main returns.
#pragma once

#include <cstdint>

#include "KernelResource/Guid.h"
#include "kernel/ReferenceCount.h"

namespace Vorn {

// Counts changes of this header that old libraries would not survive.
inline constexpr std::uint32_t kPluginApiVersion = 1;

// Makes an object of the plug-in, or null when it does not serve that interface. A new object has
// no users; the host becomes its first one. An object that others use already may be handed out
// as well.
using PluginCreate = ReferenceCount* (*)(const Guid& interfaceId) noexcept;

struct PluginFactory {
    Guid plugin;
    PluginCreate create;
};

// The factories of a library; they stay where they are while it is loaded.
struct PluginFactories {
    std::uint32_t apiVersion;  // kPluginApiVersion as the library was built
    std::uint32_t count;
    const PluginFactory* factories;
};

}  // namespace Vorn

extern "C" {

// The entry point. Null, or another version than the host's, gives a library without plug-ins.
const Vorn::PluginFactories* VornGetPlugins();

// Optional: the options that declare this library's plug-ins, for hosts that scan its directory.
// They load the library, read the text and free it again. Null for none.
const char* PluginList();
}

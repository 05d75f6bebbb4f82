// The exports of a plug-in library. This is the one header that the author of a plug-in includes;
// the library does not link the kernel.
//
// A library Foo is the file "Foo_7s.dll", on every system a loadable library of that system. Host
// and library must be built by the same compiler, because they share C++ objects.
//
// Declaring. Three options declare plug-ins. Each holds items separated by ',', and each item has
// parts separated by ':' (an id is 8-4-4-4-12 hexadecimal digits):
//
//     +PluginGroup=name:group id:interface id
//     +Plugin=name:library:plug-in id:group id
//     +PluginRemap=requested id:id that serves it
//
// - The group id names a kind of object; the interface id names the class through which a host uses
//   objects of that kind. A changed class gets a new interface id, so that a factory can refuse a
//   host that knows another one.
// - The plug-in id names one implementation. It may be declared in several groups.
// - A request for the first id of a remap, as a group or as a plug-in, is served by the second id.
//   Remaps are not chained, so two ids may swap places.
// - A later declaration with the same ids replaces the earlier one.
// - Write '+' before an option: '-' would drop all earlier declarations.
//
// The options are read from the files plugins.ini next to the kernel, next to the program and in
// the current directory, then from the libraries in the directories that the host scans.
//
// Finding. The library of an item is a path or a bare name. A bare name is searched next to the
// program, next to the kernel, in the directories where a scan has found libraries, and finally
// where the system searches. "*" is the program itself, which then must export the entry point.
//
// Serving. The first request for one of its plug-ins loads the library and asks for its factories.
// Every request calls the factory of its plug-in, on the requesting thread and outside of the locks
// of the plug-in system. Libraries are freed when the process exits, so hosts must release their
// objects before main returns.
#pragma once

#include <cstdint>

#include "KernelResource/Guid.h"
#include "kernel/ReferenceCount.h"

namespace Vorn {

// Incremented with each incompatible change of this header.
inline constexpr std::uint32_t kPluginApiVersion = 1;

// Returns an object of the plug-in, or null if it does not serve that interface. A new object has
// no users; the host becomes the first. The factory may also return an object already in use.
using PluginCreate = ReferenceCount* (*)(const Guid& interfaceId) noexcept;

struct PluginFactory {
    Guid plugin;
    PluginCreate create;
};

// The factories of a library; valid while it is loaded.
struct PluginFactories {
    std::uint32_t apiVersion;  // kPluginApiVersion as the library was built
    std::uint32_t count;
    const PluginFactory* factories;
};

}  // namespace Vorn

extern "C" {

// Returns the plug-ins of the library: its entry point. A library that returns null, or a version
// other than the host's, counts as one without plug-ins.
const Vorn::PluginFactories* VornGetPlugins();

// Returns the options that declare this library's plug-ins, or null; a library need not have it.
// Hosts that scan the directory load the library, read this text and free the library again.
const char* PluginList();
}

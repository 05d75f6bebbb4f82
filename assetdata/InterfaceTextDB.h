// The texts of the user interface, in the language of the program's choice.
//
// One table for the process: the tags of one language file, found by their names. The program
// chooses the language, and the first request loads its file from the substitution "data": the
// compiled form ("interfaceGerman.chump"), or when that cannot be opened the text form
// ("interfaceGerman.txt"). Without either the table is empty, and the log says so. Texts are in
// UTF-8, and stay valid after another language was loaded.
//
// Threads: any; lookups run side by side, a load runs alone, and threads that come first together
// load once. The log lock and those of the file layer are taken inside this one.
//
// Decided here, where it was open:
// - What tells of a missing text names the file of the chosen language in its compiled form.
// - A tag that is there with an empty text counts as missing for those who want a warning.
// - A load that ends for want of memory throws std::bad_alloc, and the next request loads again.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

#include "assetdata/OCSChunk.h"
#include "assetdata/SharedLock.h"
#include "kernel/InternedString.h"

namespace Vorn {

class InterfaceTextDB {
public:
    // Chooses the language by its two letters (any letter case), or by null or an empty text for
    // English. A code without a file changes nothing. A table that is loaded stays what it is.
    static void SetLanguage(const char* code);

    // The table, loaded by the first call.
    static InterfaceTextDB& Instance();

    InterfaceTextDB(const InterfaceTextDB&) = delete;
    InterfaceTextDB& operator=(const InterfaceTextDB&) = delete;

    // Loads the chosen language in the place of what the table holds.
    void Load();

    // The text of `tag`. Without one the result is null or empty; with `warn` it is then the tag's
    // name, and the log is told the first ten times in the process, whatever was looked up. A null
    // or empty `tag` is the result itself.
    [[nodiscard]] InternedString GetString(const InternedString& tag, bool warn);
    // The same among the texts of "ostrel_map_text" and of "scenario_text".
    [[nodiscard]] InternedString GetMapText(const InternedString& tag, bool warn);
    [[nodiscard]] InternedString GetScenarioText(const InternedString& tag, bool warn);
    // The same among the texts of "ostrel_spec_text", under the name as the text form writes it
    // ("Max Speed" is "max_speed"). Without a text the result is always `tag`.
    [[nodiscard]] InternedString GetSpecText(const InternedString& tag, bool warn);

private:
    InterfaceTextDB();
    // The one object; made before main.
    static InterfaceTextDB& Unloaded();
    static const InterfaceTextDB& made_;

    void LoadTables() VORN_REQUIRES(lock_);
    [[nodiscard]] OCSChunkRef SubTable(const char* name) const VORN_REQUIRES(lock_);
    using Table = OCSChunkRef InterfaceTextDB::*;
    [[nodiscard]] InternedString Find(Table table, const InternedString& name,
                                      const InternedString& tag, bool warn);

    mutable SharedLock lock_;
    OCSChunkRef root_ VORN_GUARDED_BY(lock_);
    // Null when absent.
    OCSChunkRef mapText_ VORN_GUARDED_BY(lock_);
    OCSChunkRef specText_ VORN_GUARDED_BY(lock_);
    OCSChunkRef scenarioText_ VORN_GUARDED_BY(lock_);
    InternedString fileName_ VORN_GUARDED_BY(lock_);

    std::atomic<bool> loaded_ = false;
    std::atomic<std::uint64_t> misses_ = 0;
};

}  // namespace Vorn

// The texts of the user interface, in the language that the program chooses.
//
// One table for the process: the tags of one language file, found by their names. The program
// chooses the language, and the first request loads its file from the mount "data": the
// compiled form ("interfaceGerman.chump"), or when that cannot be opened the text form
// ("interfaceGerman.txt"). Without either the table is empty, and the log says so. Texts are in
// UTF-8, and stay valid after another language was loaded.
//
// Threads: any. Lookups run in parallel, a load runs alone, and simultaneous first requests load
// once. The log lock and the locks of the file layer are taken inside this one.
//
// Decided here, where it was open:
// - The log line about a missing text names the compiled file of the chosen language.
// - A tag with an empty text counts as missing for callers that want a warning.
// - A load that runs out of memory throws std::bad_alloc, and the next request loads again.
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
    // Chooses the language by its two letters (any letter case); null or an empty text chooses
    // English. An unknown code changes nothing. A loaded table keeps its texts until Load.
    static void SetLanguage(const char* code);

    // Returns the table; the first call loads it.
    static InterfaceTextDB& Instance();

    InterfaceTextDB(const InterfaceTextDB&) = delete;
    InterfaceTextDB& operator=(const InterfaceTextDB&) = delete;

    // Replaces the table's content with the chosen language.
    void Load();

    // Returns the text of `tag`. If it is missing the result is null or empty; with `warn` it is
    // the tag's name, and the first ten misses of the process are logged. Returns a null or empty
    // `tag` unchanged.
    [[nodiscard]] InternedString GetString(const InternedString& tag, bool warn);
    // Look among the texts of "ostrel_map_text" and of "scenario_text".
    [[nodiscard]] InternedString GetMapText(const InternedString& tag, bool warn);
    [[nodiscard]] InternedString GetScenarioText(const InternedString& tag, bool warn);
    // Looks among the texts of "ostrel_spec_text", under the name as the text form writes it ("Max
    // Speed" is "max_speed"). If the text is missing the result is always `tag`.
    [[nodiscard]] InternedString GetSpecText(const InternedString& tag, bool warn);

private:
    InterfaceTextDB();
    // Returns the one object; made before main.
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

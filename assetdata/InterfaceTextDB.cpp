#include "assetdata/InterfaceTextDB.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "assetdata/NorvaneLog.h"
#include "assetdata/OCSConverter.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TagDatabase.h"
#include "assetdata/TagTextRules.h"
#include "kernel/PathBuffer.h"
#include "kernel/Paths.h"

namespace Vorn {
namespace {

// All names and messages are fixed.
constexpr const char* kSubstitution = "data";
constexpr std::string_view kEnglish = "interfacetext.chump";
constexpr std::uint64_t kMostWarnings = 10;

struct Language {
    const char* code;
    std::string_view fileName;
};
constexpr std::array kLanguages = {
    Language{"", kEnglish},
    Language{"EN", kEnglish},
    Language{"AU", kEnglish},
    Language{"US", kEnglish},
    Language{"UK", kEnglish},
    Language{"DE", "interfaceGerman.chump"},
    Language{"FR", "interfaceFrench.chump"},
    Language{"IT", "interfaceItalian.chump"},
    Language{"RU", "interfaceRussian.chump"},
    Language{"CZ", "interfaceCzech.chump"},
    Language{"PL", "interfacePolish.chump"},
    Language{"ES", "interfaceSpanish.chump"},
    Language{"CN", "interfaceChinese.chump"},
    Language{"NL", "interfaceDutch.chump"},
    Language{"KR", "interfaceKorean.chump"},
    Language{"HU", "interfaceHungarian.chump"},
};

std::string TextFormName(const InternedString& fileName) {
    PathBuffer path(fileName.View());
    ReplaceExtension(path, ".txt");
    return std::string(path.View());
}

InternedString TextIn(const OCSChunkRef& table, const InternedString& name) {
    if (!table) return {};
    const OCSChunkRef tag = std::as_const(*table).FindChild(name);
    return tag ? Intern(TextOfTag(*tag)) : InternedString();
}

}  // namespace

const InterfaceTextDB& InterfaceTextDB::made_ = Unloaded();

InterfaceTextDB::InterfaceTextDB() : fileName_(Intern(kEnglish)) {}

InterfaceTextDB& InterfaceTextDB::Unloaded() {
    static InterfaceTextDB table;
    return table;
}

void InterfaceTextDB::SetLanguage(const char* code) {
    const InternedString asked = Intern(code);
    const auto language = std::ranges::find_if(
        kLanguages, [&](const Language& known) { return CompareText(asked, known.code) == 0; });
    if (language == kLanguages.end()) return;
    InterfaceTextDB& table = Unloaded();
    const InternedString fileName = Intern(language->fileName);
    const ExclusiveGuard guard(table.lock_);
    table.fileName_ = fileName;
}

InterfaceTextDB& InterfaceTextDB::Instance() {
    InterfaceTextDB& table = Unloaded();
    // The table exists before main, but the mount that has its texts does not.
    if (!table.loaded_.load(std::memory_order_acquire)) {
        const ExclusiveGuard guard(table.lock_);
        if (!table.loaded_.load(std::memory_order_relaxed)) table.LoadTables();
    }
    return table;
}

void InterfaceTextDB::Load() {
    const ExclusiveGuard guard(lock_);
    LoadTables();
}

void InterfaceTextDB::LoadTables() {
    const InternedString substitution = Intern(kSubstitution);
    root_ = NewTag(kTagContainer);
    if (!LoadTagDatabase(root_, substitution, fileName_.Text())) {
        NorvaneLog("InterfaceTextDB> failed to load compiled interfacetext file");
        if (!LoadTagDatabase(root_, substitution, TextFormName(fileName_).c_str())) {
            NorvaneLog("InterfaceTextDB> Unable to read interface file '%s'", fileName_.Text());
        }
    }
    mapText_ = SubTable("ostrel_map_text");
    specText_ = SubTable("ostrel_spec_text");
    scenarioText_ = SubTable("scenario_text");
    loaded_.store(true, std::memory_order_release);
}

OCSChunkRef InterfaceTextDB::SubTable(const char* name) const {
    return root_ ? std::as_const(*root_).FindChild(Intern(name)) : OCSChunkRef();
}

InternedString InterfaceTextDB::Find(Table table, const InternedString& name,
                                     const InternedString& tag, bool warn) {
    if (tag.Length() == 0) return tag;
    InternedString text;
    InternedString fileName;
    {
        // Both are copied, so that nothing is logged under the lock.
        const SharedGuard guard(lock_);
        text = TextIn(this->*table, name);
        fileName = fileName_;
    }
    if (!warn || text.Length() != 0) return text;
    if (misses_.fetch_add(1, std::memory_order_relaxed) < kMostWarnings) {
        NorvaneLog("InterfaceTextDB::GetString> Tag '%s' not found in '%s'", tag.Text(),
                   fileName.Text());
    }
    return tag;
}

InternedString InterfaceTextDB::GetString(const InternedString& tag, bool warn) {
    return Find(&InterfaceTextDB::root_, tag, tag, warn);
}

InternedString InterfaceTextDB::GetMapText(const InternedString& tag, bool warn) {
    return Find(&InterfaceTextDB::mapText_, tag, tag, warn);
}

InternedString InterfaceTextDB::GetScenarioText(const InternedString& tag, bool warn) {
    return Find(&InterfaceTextDB::scenarioText_, tag, tag, warn);
}

InternedString InterfaceTextDB::GetSpecText(const InternedString& tag, bool warn) {
    const InternedString text =
        Find(&InterfaceTextDB::specText_, Intern(FoldTagName(tag.View())), tag, warn);
    return text.Length() != 0 ? text : tag;
}

}  // namespace Vorn

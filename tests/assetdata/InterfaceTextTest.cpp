#include <cstdio>
#include <latch>

#include "KernelStandard/ScopedMount.h"
#include "assetdata/InterfaceTextDB.h"
#include "assetdata/SizeTexts.h"
#include "services/Log.h"
#include "tests/assetdata/TagSamples.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

constexpr const char* kNotCompiled =
    "InterfaceTextDB> failed to load compiled interfacetext file\r\n";

// A folder mounted as "data", and what the log's console shows meanwhile.
class InterfaceTexts : public testing::Test {
protected:
    InterfaceTexts() {
        LogModule* module = RegisterLogModule("Norvane");
        module->Configure("displaymodulename=off");
        module->Configure("None");  // which its lines ignore
        SetLogConsoleStream(console_);
        InterfaceTextDB::SetLanguage(nullptr);
    }
    ~InterfaceTexts() override {
        SetLogConsoleStream(nullptr);
        std::fclose(console_);
    }

    // What was logged since the last call.
    [[nodiscard]] std::string Logged() {
        std::fflush(console_);
        std::string lines = folder_.Read("console").substr(seen_);
        seen_ += lines.size();
        return lines;
    }

    void WriteCompiled(const std::string& name, const std::string& text) const {
        folder_.Write(name, WriteChunks(*ReadText(text)));
    }

    static InterfaceTextDB& Reloaded() {
        InterfaceTextDB& texts = InterfaceTextDB::Instance();
        texts.Load();
        return texts;
    }
    [[nodiscard]] static std::string Text(const char* tag, bool warn = true) {
        return std::string(InterfaceTextDB::Instance().GetString(Intern(tag), warn).View());
    }

    TempFolder folder_;
    const ScopedMount mount_{Intern("data"), folder_.Path("").append("/").c_str()};
    std::FILE* console_ = std::fopen(folder_.Path("console").c_str(), "wb");
    std::size_t seen_ = 0;
};

// Stands first, before this process has loaded or missed anything: the child begins so.
TEST_F(InterfaceTexts, ThreadsThatComeFirstTogetherLoadOnceAndAreToldOfTenMisses) {
    folder_.Write("interfacetext.txt", "$here yes");
    const std::string miss =
        "InterfaceTextDB::GetString> Tag '$odd' not found in 'interfacetext.chump'\r\n";
    const int answers = InChild([&] {
        std::atomic<int> good = 0;
        std::latch together(16);
        InThreads(16, [&](std::size_t) {
            together.arrive_and_wait();
            good +=
                Text("$here") == "yes" && Text("$none", false).empty() && Text("$odd") == "$odd";
        });
        std::string expected = kNotCompiled;
        for (int i = 0; i < 10; ++i) expected += miss;
        return Logged() == expected ? good.load() : -1;
    });
    EXPECT_EQ(answers, 16);
}

TEST_F(InterfaceTexts, TheCodeChoosesTheFile) {
    WriteCompiled("interfacetext.chump", "$name text");
    Reloaded();
    std::string before = "text";
    // The middle part of the file's name. English codes, and none, are between others, so that each
    // must replace another language.
    for (const auto& [code, language] : Table<const char*, std::string>{
             {"de", "German"},    {"FR", "French"},     {"It", "Italian"},   {"RU", "Russian"},
             {"CZ", "Czech"},     {"PL", "Polish"},     {"ES", "Spanish"},   {"CN", "Chinese"},
             {"NL", "Dutch"},     {"KR", "Korean"},     {"HU", "Hungarian"}, {"SE", "Hungarian"},
             {"CH", "Hungarian"}, {"DEU", "Hungarian"}, {"EN", "text"},      {"DE", "German"},
             {"au", "text"},      {"DE", "German"},     {"US", "text"},      {"DE", "German"},
             {"UK", "text"},      {"DE", "German"},     {"", "text"},
         }) {
        SCOPED_TRACE(code);
        WriteCompiled("interface" + language + ".chump", "$name " + language);
        InterfaceTextDB::SetLanguage(code);
        EXPECT_EQ(Text("$name"), before) << "a loaded table stays";
        Reloaded();
        EXPECT_EQ(Text("$name"), language);
        before = language;
    }
    EXPECT_EQ(Logged(), "");
}

TEST_F(InterfaceTexts, TheTextFormStandsInForTheCompiledOne) {
    Reloaded();
    (void)Logged();  // the process may have loaded now for the first time
    InterfaceTextDB::SetLanguage("DE");
    const std::string unreadable =
        kNotCompiled +
        "InterfaceTextDB> Unable to read interface file 'interfaceGerman.chump'\r\n"s;
    folder_.Write("interfaceGerman.txt", "\xEF\xBB\xBF$ok \"gut \xC3\xA4\"");
    const auto expect = [&](const char* text, const std::string& logged) {
        Reloaded();
        EXPECT_EQ(Text("$ok", false), text);
        EXPECT_EQ(Logged(), logged);
    };
    expect("gut \xC3\xA4", kNotCompiled);
    WriteCompiled("interfaceGerman.chump", "$ok compiled");
    expect("compiled", "");
    folder_.Write("interfaceGerman.chump", "damaged");
    expect("", "");  // one that can be read is the one
    folder_.Write("interfaceGerman.chump", "CFIL\x02\x01\0\0\x40\0\0\0\x20"s);
    expect("gut \xC3\xA4", kNotCompiled);
    fs::remove(folder_.Path("interfaceGerman.chump"));
    fs::remove(folder_.Path("interfaceGerman.txt"));
    expect("", unreadable);
}

TEST_F(InterfaceTexts, TablesWithinTheTableAnswerForThemselves) {
    folder_.Write("interfacetext.txt",
                  "number 12\nlist 1,2\nempty \"\"\n"
                  "ostrel_spec_text { max_speed \"km/h\" caf_ \"coffee\" }\n"
                  "ostrel_map_text { north \"up\" }\n"
                  "scenario_text { win \"You won\" }\n");
    InterfaceTextDB& texts = Reloaded();
    using Lookup = InternedString (InterfaceTextDB::*)(const InternedString&, bool);
    const Table<Lookup, const char*, bool, const char*> rows = {
        {&InterfaceTextDB::GetSpecText, "Max Speed", false, "km/h"},
        {&InterfaceTextDB::GetSpecText, "Caf\xE9", false, "coffee"},
        {&InterfaceTextDB::GetSpecText, "Min Speed", false, "Min Speed"},
        {&InterfaceTextDB::GetScenarioText, "win", true, "You won"},
        {&InterfaceTextDB::GetScenarioText, "Win", false, ""},
        {&InterfaceTextDB::GetScenarioText, "lose", true, "lose"},
        {&InterfaceTextDB::GetMapText, "north", false, "up"},
        {&InterfaceTextDB::GetString, "number", true, "12"},
        {&InterfaceTextDB::GetString, "list", true, "1,2"},
        {&InterfaceTextDB::GetString, "empty", false, ""},
        {&InterfaceTextDB::GetString, "empty", true, "empty"},
        {&InterfaceTextDB::GetString, "ostrel_spec_text", true, "ostrel_spec_text"},
    };
    for (const auto& [lookup, tag, warn, text] : rows) {
        EXPECT_EQ((texts.*lookup)(Intern(tag), warn).View(), text) << tag;
    }
    EXPECT_FALSE(texts.GetString({}, true));
    EXPECT_EQ(texts.GetString(Intern(""), true), Intern(""));
}

TEST_F(InterfaceTexts, LookupsGoOnWhileTheLanguageChanges) {
    WriteCompiled("interfacetext.chump", "$a one\nscenario_text { $a \"one\" }");
    WriteCompiled("interfaceGerman.chump", "$a eins\nscenario_text { $a \"eins\" }");
    Reloaded();
    std::atomic<int> strange = 0;
    InThreads(5, [&](std::size_t thread) {
        for (int i = 0; thread == 0 && i < 40; ++i) {
            InterfaceTextDB::SetLanguage(i % 2 ? "EN" : "DE");
            Reloaded();
        }
        for (int i = 0; thread != 0 && i < 2000; ++i) {
            InterfaceTextDB& texts = InterfaceTextDB::Instance();
            const InternedString text = i % 2 ? texts.GetString(Intern("$a"), true)
                                              : texts.GetScenarioText(Intern("$a"), true);
            if (text.View() != "one" && text.View() != "eins") ++strange;
        }
    });
    EXPECT_EQ(strange, 0);
}

TEST_F(InterfaceTexts, SizesAndRatesUseItsWords) {
    folder_.Write("interfacetext.txt",
                  "$cm_unknown ?\n$cm_general_bytes B\n$cm_general_kilobytes KB\n"
                  "$cm_general_megabytes MB\n$cm_general_gigabytes GB\n"
                  "$cm_general_bps \"$(BYTES) B/s\"\n$cm_general_kbps \"at $(KILOBYTES) KB/s\"\n"
                  "$cm_general_mbps \"$(MEGABYTES) MB/s\"\n");
    Reloaded();
    for (const auto& [bytes, text] : Table<std::int64_t, const char*>{
             {-1, "?"},
             {0, "0 B"},
             {1023, "1023 B"},
             {1024, "1.00 KB"},
             {1'048'576, "1024.00 KB"},
             {1'048'577, "1.00 MB"},
             {1LL << 53, "8388608.00 GB"},
         }) {
        EXPECT_EQ(SizeText(bytes).View(), text);
    }
    for (const auto& [bytesPerSecond, text] : Table<double, const char*>{
             {1023.5, "1023.50 B/s"},
             {1024, "at 1.00 KB/s"},
             {1'048'576, "at 1024.00 KB/s"},
             {1'048'577, "1.00 MB/s"},
             {5e9, "4768.37 MB/s"},
         }) {
        EXPECT_EQ(RateText(bytesPerSecond).View(), text);
    }
    fs::remove(folder_.Path("interfacetext.txt"));
    Reloaded();
    EXPECT_EQ(SizeText(5).View(), "5 $cm_general_bytes");
    EXPECT_EQ(RateText(5).View(), "$cm_general_bps");
}

}  // namespace
}  // namespace Vorn::Testing

#include <cstdio>
#include <latch>

#include "KernelStandard/FileSubstList.h"
#include "assetdata/ChunkWriter.h"
#include "assetdata/InterfaceTextDB.h"
#include "assetdata/SizeTexts.h"
#include "assetdata/TBuffer.h"
#include "assetdata/TDBContainerTag.h"
#include "assetdata/TagText.h"
#include "kernel/services/Log.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

constexpr const char* kNotCompiled =
    "InterfaceTextDB> failed to load compiled interfacetext file\r\n";

// The folder that stands for "data", and what the log's console says meanwhile.
class InterfaceTexts : public testing::Test {
protected:
    InterfaceTexts() {
        Subst(Intern("data"), folder_.Path("").append("/").c_str());
        LogModule* module = RegisterLogModule("Norvane");
        module->Configure("displaymodulename=off");
        module->Configure("None");  // which its lines do not ask
        SetLogConsoleStream(console_);
        InterfaceTextDB::SetLanguage(nullptr);
    }
    ~InterfaceTexts() override {
        SetLogConsoleStream(nullptr);
        Subst(Intern("data"), nullptr);
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
        TBufferBlock source(std::as_bytes(std::span(text)));
        TBuffer reader(source);
        TDBContainerTag root;
        ReadTagText(root, reader, true);
        TBufferBlock target(256);
        TBuffer writer(target);
        ASSERT_TRUE(WriteChunkFile(root, writer));
        const auto bytes = target.Content();
        folder_.Write(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
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
    std::FILE* console_ = std::fopen(folder_.Path("console").c_str(), "wb");
    std::size_t seen_ = 0;
};

// These two stand first, before this process has loaded or missed anything: their children begin
// so.

TEST_F(InterfaceTexts, TenMissesAreToldOfAndNoMore) {
    folder_.Write("interfacetext.txt", "$here yes");
    const int lines = InChild([&] {
        (void)Text("$here");
        if (Logged() != kNotCompiled) return -1;
        InThreads(4, [](std::size_t thread) {
            for (int i = 0; i < 10; ++i) {
                (void)Text("$here");
                (void)Text("$absent", false);
                if (Text(thread % 2 ? "$odd" : "$even")[0] != '$') std::abort();
            }
        });
        std::string rest = Logged();
        for (const std::string tag : {"$odd", "$even"}) {
            const std::string line = "InterfaceTextDB::GetString> Tag '" + tag +
                                     "' not found in 'interfacetext.chump'\r\n";
            for (std::size_t at; (at = rest.find(line)) != std::string::npos;) {
                rest.replace(at, line.size(), ".");
            }
        }
        return rest == ".........." ? 10 : -1;
    });
    EXPECT_EQ(lines, 10);
}

TEST_F(InterfaceTexts, ThreadsThatComeFirstTogetherLoadOnce) {
    folder_.Write("interfacetext.txt", "$here yes\nscenario_text { a b }");
    const int result = InChild([&] {
        std::latch together(16);
        InThreads(16, [&](std::size_t) {
            together.arrive_and_wait();
            if (Text("$here") != "yes") std::abort();
        });
        return Logged() == kNotCompiled ? 1 : 0;
    });
    EXPECT_EQ(result, 1);
}

TEST_F(InterfaceTexts, TheCodeChoosesTheFile) {
    for (const char* language : {"text", "German", "French", "Italian", "Russian", "Czech",
                                 "Polish", "Spanish", "Chinese", "Dutch", "Korean", "Hungarian"}) {
        const std::string name = language == "text"s ? "interfacetext" : "interface"s + language;
        WriteCompiled(name + ".chump", "$name "s + language);
    }
    const Table<const char*, const char*> rows = {
        {"de", "German"},    {"FR", "French"},     {"It", "Italian"},   {"RU", "Russian"},
        {"CZ", "Czech"},     {"PL", "Polish"},     {"ES", "Spanish"},   {"CN", "Chinese"},
        {"NL", "Dutch"},     {"KR", "Korean"},     {"HU", "Hungarian"}, {"SE", "Hungarian"},
        {"CH", "Hungarian"}, {"DEU", "Hungarian"}, {"EN", "text"},      {"DE", "German"},
        {"au", "text"},      {"DE", "German"},     {"US", "text"},      {"DE", "German"},
        {"UK", "text"},      {"DE", "German"},     {"", "text"},        {"DE", "German"},
        {nullptr, "text"},
    };
    std::string before = "text";
    Reloaded();
    for (const auto& [code, language] : rows) {
        SCOPED_TRACE(code ? code : "no code");
        InterfaceTextDB::SetLanguage(code);
        EXPECT_EQ(Text("$name"), before) << "a loaded table stays";
        Reloaded();
        EXPECT_EQ(Text("$name"), language);
        before = language;
    }
    EXPECT_EQ(Logged(), "");
}

TEST_F(InterfaceTexts, TheTextFormStandsInForTheCompiledOne) {
    InterfaceTextDB::SetLanguage("DE");
    WriteCompiled("interfaceGerman.chump", "$ok compiled");
    folder_.Write("interfaceGerman.txt", "\xEF\xBB\xBF$ok \"gut \xC3\xA4\"");
    Reloaded();
    EXPECT_EQ(Text("$ok"), "compiled");
    EXPECT_EQ(Logged(), "");

    fs::remove(folder_.Path("interfaceGerman.chump"));
    Reloaded();
    EXPECT_EQ(Text("$ok"), "gut \xC3\xA4");
    EXPECT_EQ(Logged(), kNotCompiled);

    fs::remove(folder_.Path("interfaceGerman.txt"));
    Reloaded();
    EXPECT_EQ(Logged(), kNotCompiled +
                            "InterfaceTextDB> Unable to read interface file "
                            "'interfaceGerman.chump'\r\n"s);
    EXPECT_EQ(Text("$ok", false), "");

    folder_.Write("interfaceGerman.chump", "damaged");
    folder_.Write("interfaceGerman.txt", "$ok text");
    Reloaded();
    EXPECT_EQ(Text("$ok", false), "") << "a compiled file that opens is the one";
}

TEST_F(InterfaceTexts, TablesWithinTheTableAnswerForThemselves) {
    folder_.Write("interfacetext.txt",
                  "number 12\nlist 1,2\nempty \"\"\n"
                  "ostrel_spec_text { max_speed \"km/h\" caf_ \"coffee\" }\n"
                  "ostrel_map_text { north \"up\" }\n"
                  "scenario_text { win \"You won\" }\n");
    InterfaceTextDB& texts = Reloaded();
    EXPECT_EQ(texts.GetSpecText(Intern("Max Speed"), false).View(), "km/h");
    EXPECT_EQ(texts.GetSpecText(Intern("Caf\xE9"), false).View(), "coffee");
    EXPECT_EQ(texts.GetSpecText(Intern("Min Speed"), false).View(), "Min Speed");
    EXPECT_EQ(texts.GetScenarioText(Intern("win"), false).View(), "You won");
    EXPECT_EQ(texts.GetScenarioText(Intern("Win"), false).View(), "");
    EXPECT_EQ(texts.GetScenarioText(Intern("lose"), true).View(), "lose");
    EXPECT_EQ(texts.GetMapText(Intern("north"), false).View(), "up");
    EXPECT_EQ(Text("number"), "12");
    EXPECT_EQ(Text("list"), "1,2");
    EXPECT_EQ(Text("empty", false), "");
    EXPECT_EQ(Text("empty"), "empty");
    EXPECT_EQ(Text("ostrel_spec_text"), "ostrel_spec_text");
    EXPECT_FALSE(texts.GetString({}, true));
    EXPECT_EQ(texts.GetString(Intern(""), true), Intern(""));
}

TEST_F(InterfaceTexts, LookupsGoOnWhileTheLanguageChanges) {
    WriteCompiled("interfacetext.chump", "$a one\nscenario_text { $a \"one\" }");
    WriteCompiled("interfaceGerman.chump", "$a eins\nscenario_text { $a \"eins\" }");
    Reloaded();
    std::atomic<int> asked = 0;
    std::atomic<int> strange = 0;
    std::atomic<bool> done = false;
    InThreads(5, [&](std::size_t thread) {
        if (thread == 0) {
            for (int i = 0; i < 50 || asked < 1000; ++i) {
                InterfaceTextDB::SetLanguage(i % 2 ? "EN" : "DE");
                Reloaded();
                std::this_thread::yield();
            }
            done = true;
        }
        for (; !done; ++asked) {
            const InternedString tag = Intern("$a");
            InterfaceTextDB& texts = InterfaceTextDB::Instance();
            for (const auto& text :
                 {texts.GetString(tag, true), texts.GetScenarioText(tag, true)}) {
                if (text.View() != "one" && text.View() != "eins") ++strange;
            }
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
    const Table<std::int64_t, const char*> sizes = {{-1, "?"},
                                                    {0, "0 B"},
                                                    {1023, "1023 B"},
                                                    {1024, "1.00 KB"},
                                                    {1536, "1.50 KB"},
                                                    {1048576, "1024.00 KB"},
                                                    {1048577, "1.00 MB"},
                                                    {1LL << 40, "1024.00 GB"},
                                                    {INT64_MAX, "8589934592.00 GB"}};
    for (const auto& [bytes, text] : sizes) EXPECT_EQ(SizeText(bytes).View(), text);
    const Table<double, const char*> rates = {{0, "0.00 B/s"},        {1023.5, "1023.50 B/s"},
                                              {1024, "at 1.00 KB/s"}, {1048576, "at 1024.00 KB/s"},
                                              {1048577, "1.00 MB/s"}, {5e9, "4768.37 MB/s"}};
    for (const auto& [rate, text] : rates) EXPECT_EQ(RateText(rate).View(), text);

    fs::remove(folder_.Path("interfacetext.txt"));
    Reloaded();
    EXPECT_EQ(SizeText(5).View(), "5 $cm_general_bytes");
    EXPECT_EQ(RateText(5).View(), "$cm_general_bps");
}

}  // namespace
}  // namespace Vorn::Testing

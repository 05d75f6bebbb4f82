// Declared plug-ins: where declarations come from, loading on request, objects and failures.
#include "KernelResource/PluginSystem.h"

#include "KernelStandard/FileSubstList.h"
#include "services/KernelOptions.h"
#include "services/Log.h"
#include "services/TaskManager.h"
#include "tests/KernelResource/SamplePlugin.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {

namespace {

class OwnGreeter final : public Greeter {
public:
    [[nodiscard]] const char* Greeting() const override { return "hello from the program"; }
};

ReferenceCount* CreateOwn(const Guid& /*interfaceId*/) noexcept { return new OwnGreeter; }

constexpr PluginFactory kOwnFactories[] = {{kPlugin, CreateOwn}};
constexpr PluginFactories kOwn = {kPluginApiVersion, 1, kOwnFactories};

std::string ValueOf(const OptionList& list, const char* name) {
    String value;
    GetOptionString(list, name, value, "none");
    return value.Text();
}

class PluginSystemTest : public testing::Test {
protected:
    void SetUp() override { here_.Enter(); }

    // Copies the sample library, naming the plug-in of the copy "Sample" and the mark.
    void PlaceSample(const std::string& name, char mark) {
        std::string content = here_.Read(SAMPLE_PLUGIN);
        content[content.find("Sample#:") + 6] = mark;
        here_.Write(name, content);
    }
    void Configure(const std::string& pluginsIni) {
        here_.Write("plugins.ini", pluginsIni);
        object_ = {};
        system_ = MakeRef<PluginSystem>();
        system_->Configure({here_.Path(), here_.Path(), here_.Path()}, nullptr);
    }
    const char* Greeting(const Guid& group, const auto& id) {
        PluginSystem::Factory factory;
        const PluginResult result = system_->FindFactory(group, id, factory);
        if (result != RES_SUCCESS) return DescribePluginResult(result).name;
        object_ = RefPtr(static_cast<Greeter*>(factory.create(factory.interfaceId)));
        return object_ ? object_->Greeting() : "refused";
    }

    TempFolder here_;
    RefPtr<PluginSystem> system_;
    RefPtr<Greeter> object_;  // ends before the system that owns its library
};

// Several threads make the first request of the process.
TEST_F(PluginSystemTest, LibraryInAScannedFolderIsLoadedOnceAndServesAll) {
    PlaceSample("mods/Sample_7s.dll", '1');
    KernelOptions options("", "", 0, 0);
    ParseOptions(options.GetOptionList(), "-PluginDir=absent,mods");
    TaskManager manager;
    manager.Start(options);

    std::atomic<int> served = 0;
    InThreads(4, [&](std::size_t) {
        RefPtr<ReferenceCount> object;
        if (PluginSystem::Request(kGroup, kOldPlugin, object) == RES_SUCCESS) ++served;
    });
    EXPECT_EQ(served, 4);

    RefPtr<ReferenceCount> object;
    ASSERT_EQ(PluginSystem::Request(kGroup, Intern("Sample1"), object), RES_SUCCESS);
    auto& greeter = static_cast<Greeter&>(*object);
    EXPECT_STREQ(greeter.Greeting(), "hello from the library");
    EXPECT_EQ(greeter.EntryCalls(), 1);
    EXPECT_EQ(PluginSystem::Request(kPlugin, kPlugin, object), RES_PLUGINGROUPIDNOTFOUND);
    EXPECT_EQ(object.Get(), &greeter);
    bool ended = false;
    greeter.ended = &ended;
    object = {};
    EXPECT_TRUE(ended);
}

TEST_F(PluginSystemTest, FindsTheLibraryOfAnItem) {
    fs::copy_file(SAMPLE_PLUGIN, here_.Path("Own.Name_7s.dll"));
    const Table<std::string, const char*> table = {{"Own.Name", "hello from the library"},
                                                   {"own.name.DLL", "hello from the library"},
                                                   {"./Own.Name", "hello from the library"},
                                                   {"*", "hello from the program"}};
    for (const auto& [library, greeting] : table) {
        SCOPED_TRACE(library);
        Configure("-PluginGroup=" SAMPLE_GROUP " -Plugin=a:" + library + ":" SAMPLE_IDS);
        EXPECT_STREQ(Greeting(kGroup, kPlugin), greeting);
    }
}

TEST_F(PluginSystemTest, TellsWhatIsMissing) {
    fs::copy_file(OTHER_LIBRARY, here_.Path("other_7s.dll"));
    Configure("-PluginGroup=" SAMPLE_GROUP " -Plugin=late:Late:" SAMPLE_IDS
              ",a:other:30000000-0000-0000-0000-000000000000:10000000-0000-0000-0000-000000000000"
              ",b:*:40000000-0000-0000-0000-000000000000:10000000-0000-0000-0000-000000000000");
    EXPECT_STREQ(Greeting(kPlugin, kPlugin), "RES_PLUGINGROUPIDNOTFOUND");
    EXPECT_STREQ(Greeting(kGroup, kOldPlugin), "RES_PLUGINIDNOTFOUND");
    EXPECT_STREQ(Greeting(kGroup, Intern("Late")), "RES_PLUGINNAMENOTFOUND");
    EXPECT_STREQ(Greeting(kGroup, Intern("a")), "RES_PLUGINLIBRARYNOTFOUND");
    EXPECT_STREQ(Greeting(kGroup, Intern("b")), "RES_PLUGINIDNOTFOUND") << "not in the library";
    EXPECT_STREQ(Greeting(kGroup, kPlugin), "RES_PLUGINLIBRARYNOTFOUND");
    fs::copy_file(SAMPLE_PLUGIN, here_.Path("Late_7s.dll"));
    EXPECT_STREQ(Greeting(kGroup, kPlugin), "RES_PLUGINLIBRARYNOTFOUND") << "tried again";

    PluginLibrary absent(Intern("absent"), {});
    EXPECT_EQ(absent.Load(), RES_LIBRARYNOTFOUND);
    PluginLibrary other(Intern("other"), {});
    EXPECT_EQ(other.Load(), RES_ENTRYPOINTNOTFOUND);
    EXPECT_TRUE(absent.HasFailed() && other.HasFailed() && !other.IsLoaded());
}

TEST_F(PluginSystemTest, LibraryFilesHaveASuffix) {
    const Table<const char*, const char*> rows = {
        {"Foo", "Foo_7s.dll"},     {"Foo.dll", "Foo_7s.dll"},    {"Foo.DLL", "Foo_7s.dll"},
        {"x/a.exe", "x/a_7s.exe"}, {"a.b", "a.b_7s.dll"},        {"dll", "dll_7s.dll"},
        {"", "_7s.dll"},           {"a.dll/b", "a.dll/b_7s.dll"}};
    for (const auto& [name, file] : rows) EXPECT_EQ(PluginLibraryFile(name), file);
}

TEST_F(PluginSystemTest, DeclarationsComeInTheirOrderAndEachFileOnce) {
    here_.Write("kernel/plugins.ini", "+Plugin=kernel");
    here_.Write("current/plugins.ini", "+Plugin=current");
    PlaceSample("kernel/z.dll", 'k');
    PlaceSample("mods/b.dll", 'b');
    PlaceSample("mods/a.dll", 'a');
    PlaceSample("more/c.DLL", 'c');
    here_.Write("more/broken.dll", "not a library");
    fs::copy_file(OTHER_LIBRARY, here_.Path("more/no list.dll"));
    fs::create_directory_symlink(here_.Path("kernel"), here_.Path("alias"));
    const PluginPlaces places = {here_.Path("kernel"), here_.Path("alias"), here_.Path("current")};

    OptionList files;
    const std::vector<std::string> folders = LoadPluginOptions(files, places, nullptr);
    EXPECT_EQ(ValueOf(files, "Plugin"), "kernel,current");
    EXPECT_THAT(folders, ElementsAre(places.program, places.kernel));

    Subst(Intern("mounted"), "more/");
    OptionList kernelOptions;
    ParseOptions(kernelOptions, "-AutoPlugin -PluginDir=mods/,mounted:");
    OptionList all;
    EXPECT_EQ(LoadPluginOptions(all, places, &kernelOptions).size(), 4u);
    Subst(Intern("mounted"), nullptr);
    String plugins(ValueOf(all, "Plugin").c_str());
    plugins.RemoveChars("-0123456789:");
    EXPECT_STREQ(plugins.Text(),
                 "kernel,current,SamplekSample,SampleaSample,SamplebSample,SamplecSample");
}

TEST_F(PluginSystemTest, SkipsMalformedItemsAndWarnsOnce) {
    std::FILE* stream = std::fopen("log.txt", "wb");
    SetLogConsoleStream(stream);
    Configure("-PluginGroup=x:y,:" SAMPLE_GROUP
              ",Greeters:1,g:10000000-0000-0000-0000-000000000000:{0000000-0000-0000-0000-0}"
              " -Plugin='\x1b[2J\n," SAMPLE_IDS ",n:*:" SAMPLE_IDS ":more,ok:*:" SAMPLE_IDS
              "'"
              " -PluginRemap=" SAMPLE_REMAP ",x:20000000-0000-0000-0000-000000000000");
    SetLogConsoleStream(nullptr);
    std::fclose(stream);
    const std::string lines = here_.Read("log.txt");

    EXPECT_STREQ(Greeting(kGroup, kOldPlugin), "hello from the program");
    EXPECT_STREQ(Greeting(kGroup, Intern("ok")), "hello from the program");
    EXPECT_STREQ(Greeting(kGroup, Intern("n")), "RES_PLUGINNAMENOTFOUND");
    EXPECT_THAT(lines, HasSubstr("x:y: malformed item of PluginGroup skipped, 3 in all"));
    EXPECT_THAT(lines, HasSubstr(".[2J: malformed item of Plugin skipped, 3 in all"));
    EXPECT_THAT(lines, HasSubstr("PluginRemap skipped, 1 in all"));
    EXPECT_EQ(std::ranges::count(lines, '\n'), 3);
}

TEST(GuidTest, ReadsExactlyItsForm) {
    EXPECT_EQ(ParseGuid("8DBDFEB0-52F4-4c1b-BA91-6A7B1CCC6D3E"),
              (Guid{0x8DBDFEB0, 0x52F4, 0x4C1B, {0xBA, 0x91, 0x6A, 0x7B, 0x1C, 0xCC, 0x6D, 0x3E}}));
    for (const char* text :
         {"", "8DBDFEB0-52F4-4c1b-BA91-6A7B1CCC6D3", "8DBDFEB0-52F4-4c1b-BA91-6A7B1CCC6D3E0",
          "8DBDFEB0-52F4-4c1b-BA916-A7B1CCC6D3E", "8DBDFEB0052F4-4c1b-BA91-6A7B1CCC6D3E",
          "8DBDFEB0-52F4-4c1b-BA91-6A7B1CCC6DGE", "8DBDFEB0-52F4-4c1b-BA91-6A7B1CCC6D@E"}) {
        EXPECT_FALSE(ParseGuid(text)) << text;
    }
}

}  // namespace
}  // namespace Vorn::Testing

// The program itself is a library of plug-ins too.
const Vorn::PluginFactories* VornGetPlugins() { return &Vorn::Testing::kOwn; }

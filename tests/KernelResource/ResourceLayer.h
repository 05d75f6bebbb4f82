// The common fixture of the resource tests: a resource system, an archive mounted as "base", and
// resources that are the text of a member.
#pragma once

#include "KernelResource/ResourceDatabase.h"
#include "KernelResource/ResourceSystem.h"
#include "services/OptionList.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {

class TextResource;

// Makes TextResources of "*.text" files, and of names that begin with "made/".
class TextType final : public ResourceType {
public:
    bool TakesFile(std::string_view name) const override { return name.ends_with(".text"); }
    bool TakesName(std::string_view name) const override { return name.starts_with("made/"); }
    RefPtr<Resource> Create(ResourceDatabase* home, const InternedString& name) override;

    // Is called in every load, on the thread that loads.
    std::function<void(TextResource&)> onLoad = [](TextResource&) {};
    // Is called for every request of the data size.
    std::function<void()> onSize = [] {};
    std::atomic<int> loads = 0;
    std::atomic<int> unloads = 0;
    std::atomic<int> alive = 0;
};

class TextResource : public Resource {
public:
    TextResource(TextType& type, ResourceDatabase* home, const InternedString& name)
        : Resource(home, name), type_(type) {
        ++type_.alive;
    }
    ~TextResource() override { --type_.alive; }
    void LoadFile(ResourceResult& result, const char* fileName) override {
        ++type_.loads;
        loadedBy = std::this_thread::get_id();
        type_.onLoad(*this);
        const auto content = Contents(fileName);
        text = content.value_or("");
        if (!content) result = RES_FAILED_TO_LOAD;
    }
    void LoadDescription(ResourceResult& result, const char* fileName) override {
        LoadFile(result, fileName);
    }
    void FinishLoad(ResourceResult& result) override {
        isFinished = true;
        if (text == "cannot be finished") result = RES_FAILED_TO_LOAD;
    }
    int GetDataSize() override {
        const int size = isFinished ? static_cast<int>(text.size()) : -1;
        type_.onSize();
        return size;
    }
    void ReleaseData() override {
        ++type_.unloads;
        text.clear();
    }

    std::string text;
    std::thread::id loadedBy;
    bool isFinished = false;

private:
    TextType& type_;
};

inline RefPtr<Resource> TextType::Create(ResourceDatabase* home, const InternedString& name) {
    return MakeResource<TextResource>(*this, home, name);
}

class ResourceLayer : public testing::Test {
protected:
    ResourceLayer() { Start(""); }
    void TearDown() override {
        base.reset();
        system.reset();
        EXPECT_EQ(texts.alive, 0);
    }

    // Starts a new resource system; null starts one without options.
    void Start(const char* optionText) {
        base.reset();
        system = std::make_unique<ResourceSystem>();
        if (optionText) ParseOptions(options.emplace(), optionText);
        system->Init(optionText ? &*options : nullptr);
        system->Types().Add(texts);
    }

    // Mounts an archive with these members under a name, until its database ends.
    void Mount(const std::string& name, const std::vector<RawMember>& members) {
        Subst(Intern(name), folder.Write(name + ".va", RawArchive(members)).c_str());
    }
    // Opens the database "base" over such a mount.
    void OpenBase(const std::vector<RawMember>& members) {
        base.reset();
        Mount("base", members);
        base = std::make_unique<ResourceDatabase>(Intern("base"));
    }
    // Opens "base" with the members "0.text" to "<count - 1>.text", which hold "text 0" and so on.
    void OpenNumbered(std::size_t count) {
        std::vector<RawMember> members;
        for (std::size_t i = 0; i < count; ++i) {
            members.push_back({std::to_string(i) + ".text", "text " + std::to_string(i)});
        }
        OpenBase(members);
    }

    // Looks a name up in "base"; the result has a reference.
    [[nodiscard]] Resource* Get(std::string_view name, std::uint32_t flags = 0) {
        return base->GetResource(Intern(name), flags);
    }
    [[nodiscard]] TextResource& Numbered(std::size_t number) {
        return dynamic_cast<TextResource&>(*Get(std::to_string(number) + ".text"));
    }
    bool Release(std::string_view name) { return base->ReleaseResource(Intern(name)); }
    // Finds a resource, loads it and returns its text; "(none)" if that fails. It keeps the
    // reference of the lookup.
    std::string TextOf(std::string_view name) {
        auto* const resource = dynamic_cast<TextResource*>(Get(name));
        if (!resource) return "(none)";
        const ResourceUse use(*resource);
        return use ? resource->text : "(none)";
    }
    [[nodiscard]] static ResourceResult Acquire(Resource& resource) {
        ResourceResult result = RES_RESOURCEOK;
        resource.Acquire(result);
        return result;
    }

    std::optional<OptionList> options;
    TextType texts;
    TempFolder folder;
    std::unique_ptr<ResourceSystem> system;
    std::unique_ptr<ResourceDatabase> base;
};

}  // namespace Vorn::Testing

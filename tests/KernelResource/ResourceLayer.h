// The common ground of the resource tests: a resource system, an archive mounted as "base", and
// resources that are the text of a member.
#pragma once

#include "KernelResource/ResourceDatabase.h"
#include "KernelResource/ResourceSystem.h"
#include "kernel/services/OptionList.h"
#include "tests/KernelStandard/FileLayer.h"

namespace Vorn::Testing {

class TextResource;

// Makes TextResources of "*.text" files, and of names that begin with "made/".
class TextType final : public ResourceType {
public:
    bool TakesFile(std::string_view name) const override { return name.ends_with(".text"); }
    bool TakesName(std::string_view name) const override { return name.starts_with("made/"); }
    RefPtr<Resource> Create(ResourceDatabase* home, const InternedString& name) override;

    // Called in every load, on its thread.
    std::function<void(TextResource&)> onLoad = [](TextResource&) {};
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
    void LoadFile(ResourceResult& result, const char* fileName) override;
    // The option "Text" of the description.
    void LoadDescription(ResourceResult& result, const char* fileName) override;
    void FinishLoad(ResourceResult& result) override;
    int GetDataSize() override { return isFinished ? static_cast<int>(text.size()) : -1; }
    void ReleaseData() override;

    std::string text;
    std::thread::id loadedBy;
    bool isFinished = false;

private:
    TextType& type_;
};

class ResourceLayer : public testing::Test {
protected:
    ResourceLayer() { Start(""); }
    void TearDown() override;

    // Begins with a fresh resource system.
    void Start(std::string_view optionText);

    // An archive with these members, mounted under the name until its database ends.
    void Mount(const std::string& name, const std::vector<RawMember>& members);
    // The database "base" over such a mount.
    void OpenBase(const std::vector<RawMember>& members);
    // Members "0.text" to "<count - 1>.text", which hold "text 0" and so on.
    void OpenNumbered(std::size_t count);

    // Of the database "base", with a reference.
    [[nodiscard]] TextResource& Numbered(std::size_t number);
    [[nodiscard]] Resource* Get(std::string_view name, std::uint32_t flags = 0) {
        return base->GetResource(Intern(name), flags);
    }
    bool Release(std::string_view name) { return base->ReleaseResource(Intern(name)); }
    // The whole way: finds, loads, and gives the use back. "(none)" when that fails.
    std::string TextOf(std::string_view name);
    [[nodiscard]] static ResourceResult Acquire(Resource& resource);

    std::optional<OptionList> options;
    TextType texts;
    TempFolder folder;
    std::unique_ptr<ResourceSystem> system;
    std::unique_ptr<ResourceDatabase> base;
};

}  // namespace Vorn::Testing

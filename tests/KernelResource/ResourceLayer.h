// The common ground of the resource tests: a resource system, an archive mounted as "base", and
// resources that are the text of a member.
#pragma once

#include "KernelResource/ResourceDatabase.h"
#include "KernelResource/ResourceSystem.h"
#include "kernel/services/OptionList.h"
#include "tests/support/Tests.h"

namespace Vorn::Testing {

class TextResource;

// Makes TextResources of "*.text" files, and of names that begin with "made/".
class TextType final : public ResourceType {
public:
    [[nodiscard]] bool TakesFile(std::string_view name) const override;
    [[nodiscard]] bool TakesName(std::string_view name) const override;
    [[nodiscard]] RefPtr<Resource> Create(ResourceDatabase* home,
                                          const InternedString& name) override;

    // Called in every load, on its thread.
    std::function<void(TextResource&)> onLoad = [](TextResource&) {};
    std::atomic<int> loads = 0;
    std::atomic<int> unloads = 0;
    std::atomic<int> alive = 0;
};

class TextResource : public Resource {
public:
    TextResource(TextType& type, ResourceDatabase* home, const InternedString& name);
    ~TextResource() override;
    void LoadFile(ResourceResult& result, const char* fileName) override;
    // The option "Text" of the description.
    void LoadDescription(ResourceResult& result, const char* fileName) override;
    void FinishLoad(ResourceResult& result) override;
    [[nodiscard]] int GetDataSize() override;
    void ReleaseData() override;

    [[nodiscard]] const std::string& Text() const { return text_; }
    [[nodiscard]] std::thread::id LoadedBy() const { return loadedBy_; }
    [[nodiscard]] bool IsFinished() const { return isFinished_; }

private:
    TextType& type_;
    std::string text_;
    std::thread::id loadedBy_;
    bool isFinished_ = false;
};

using Members = std::vector<std::pair<std::string, std::string>>;

class ResourceLayer : public testing::Test {
protected:
    explicit ResourceLayer(std::string_view options = "");
    void TearDown() override;

    // An archive with these members, mounted under the name.
    void Mount(const char* name, const Members& members);
    // The database "base" over such a mount.
    ResourceDatabase& OpenBase(const Members& members);
    // Members "0.text" to "<count - 1>.text".
    ResourceDatabase& OpenNumbered(int count);

    // Of the database "base", with a reference.
    [[nodiscard]] Resource* Get(std::string_view name, std::uint32_t flags = 0) {
        return base->GetResource(Intern(name), flags);
    }
    bool Release(std::string_view name) { return base->ReleaseResource(Intern(name)); }
    // The whole way: finds, loads, and gives the use back.
    std::string TextOf(std::string_view name);
    [[nodiscard]] static ResourceResult Acquire(Resource& resource);
    // Steps of a tenth of a second.
    void Drive(double seconds);

    OptionList options;
    TextType texts;
    TempFolder folder;
    std::unique_ptr<ResourceSystem> system = std::make_unique<ResourceSystem>();
    std::unique_ptr<ResourceDatabase> base;

private:
    std::vector<InternedString> mounts_;
};

}  // namespace Vorn::Testing
